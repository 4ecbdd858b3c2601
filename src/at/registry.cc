// SPDX-License-Identifier: Apache-2.0
// The registry of claimed names, and the dispatch of a command to the handler that claimed it.
#include <utility>

#include "at/at_service.h"
#include "at/at_text.h"
#include "common/log.h"
#include "common/vendor/ats_qmi_client.h"

namespace kor::wwan {

int AtService::RegisterCallback(std::string name, std::function<AtManager::CmdResponse(AtManager::Command&)> cmd_cb,
                                std::function<void(std::string, bool)> reg_cb) {
  // What may fail comes before the registry changes: a name is claimed, pending and has its pass, or none of it.
  std::list<AtServiceMsg> pass(1);
  pass.front().type = kMsgRegister;
  Registry claim;
  const Registry::iterator made = claim.try_emplace(std::move(name)).first;
  kor::util::MutexLock lock(cmd_mutex_);
  const auto found = cmd_set_info_m_.find(made->first);
  const bool is_new = found == cmd_set_info_m_.end();
  if (is_new) pending_.insert(made);
  cmd_set_info_m_.merge(claim);  // Takes the node over when it is new. Nothing is allocated, `made` stays good.
  CmdSetInfo& info = (is_new ? made : found)->second;
  // Replaced callables are destroyed with the arguments, after the unlock.
  info.cmd_cb.swap(cmd_cb);
  info.reg_cb.swap(reg_cb);
  if (is_new) PushNode(pass);
  return 0;
}

int AtService::ReleaseCommands() {
  std::list<std::string> names;
  kor::util::MutexLock lock(cmd_mutex_);
  for (const auto& entry : cmd_set_info_m_) names.push_back(entry.first);
  return 0;
}

AtManager::CmdResponse AtService::HandleAtCommand(AtManager::Command& cmd) {
  std::function<AtManager::CmdResponse(AtManager::Command&)> cmd_cb;
  {
    kor::util::MutexLock lock(cmd_mutex_);
    const auto entry = cmd_set_info_m_.find(cmd.name);
    if (entry != cmd_set_info_m_.end()) cmd_cb = entry->second.cmd_cb;
  }
  if (cmd_cb) return cmd_cb(cmd);
  KOR_LOG_AS("kor::wwan::AtManager::CmdResponse kor::wwan::AtService::HandleAtCommand(kor::wwan::AtManager::Command&)",
             LOG_WARNING, "No callback for %s\n", cmd.name.c_str());
  return {};
}

int AtService::SendResponse(AtManager::Command& cmd, AtManager::CmdResponse& resp) {
  return ats_->SendResponse(cmd, resp.result, ResponseText(cmd, resp));
}

}  // namespace kor::wwan
