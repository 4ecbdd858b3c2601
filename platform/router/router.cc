// SPDX-License-Identifier: Apache-2.0
#include "router/router.h"

#include <exception>

#include "common/log.h"

namespace kor::vendor::qcom::qcmap {

Router::Router(kor::modem::ModemPort& port, const std::string& state_path)
    : Router(port, StateFile(state_path), Load(StateFile(state_path))) {}

Router::Router(kor::modem::ModemPort& port, const StateFile& file, const RouterState& state)
    : file_(file),
      written_(StateText(state)),
      policies(port, state,
               [this](PolicyTable::Change change) {
                 if (change == PolicyTable::Change::kKept) Save();
               }),
      lan(policies, state.lan, [this] { Save(); }) {}

RouterState Router::Load(const StateFile& file) {
  try {
    const auto text = file.Read();
    return text ? ReadState(*text) : RouterState();
  } catch (const std::exception& e) {
    KOR_LOG(LOG_ERR, "%s is of no use: %s\n", file.path().c_str(), e.what());
  }
  try {
    KOR_LOG(LOG_ERR, "it is kept as %s; the router starts with its defaults\n", file.KeepAside().c_str());
  } catch (const std::exception& e) {
    KOR_LOG(LOG_ERR, "it cannot be kept: %s\n", e.what());
  }
  return {};
}

void Router::Save() {
  kor::util::MutexLock lock(file_mutex_);
  const std::string text = StateText(lan.Snapshot());
  if (text == written_) return;
  try {
    file_.Write(text);
    written_ = text;
    failing_ = false;
  } catch (const std::exception& e) {
    if (!failing_) KOR_LOG(LOG_ERR, "changes are lost at the next restart: %s\n", e.what());
    failing_ = true;
  }
}

}  // namespace kor::vendor::qcom::qcmap
