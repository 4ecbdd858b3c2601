// SPDX-License-Identifier: Apache-2.0
#include "router/router.h"

#include <chrono>
#include <exception>
#include <utility>

#include "common/log.h"
#include "common/router_events.h"

namespace kor::vendor::qcom::qcmap {

namespace {

using kor::modem::ModemState;
using kor::util::EventDic;

const char* TextOf(ModemState state) {
  switch (state) {
    case ModemState::kAbsent:
      return "absent";
    case ModemState::kStarting:
      return "starting";
    case ModemState::kReady:
      return "ready";
    case ModemState::kGone:
      return "gone";
  }
  return "unknown";
}

}  // namespace

Router::Router(kor::modem::ModemPort& port, const std::string& state_path)
    : Router(port, StateFile(state_path), Load(StateFile(state_path))) {}

Router::Router(kor::modem::ModemPort& port, const StateFile& file, const RouterState& state)
    : port_(port),
      file_(file),
      written_(StateText(state)),
      policies(port, state, [this](PolicyTable::Change change) { Changed(change); }),
      lan(policies, state.lan, [this] { Changed(PolicyTable::Change::kKept); }),
      auto_connect_(port, policies, Backoff::FromEnvironment()) {}

void Router::Start(std::function<void(EventDic& ev)> publish) {
  publish_ = std::move(publish);
  port_.AddStateReport([this](ModemState modem) { TakeState(modem); });
  if (port_.State() == ModemState::kReady) policies.TakeOverCalls();
  auto_connect_.Start([this](const ReconnectPlan::Waiting& waiting) { PublishWait(waiting); });
}

void Router::Changed(PolicyTable::Change change) {
  if (change == PolicyTable::Change::kKept) Save();
  auto_connect_.Look();
}

void Router::PublishWait(const ReconnectPlan::Waiting& waiting) {
  const auto wait = std::chrono::ceil<std::chrono::milliseconds>(waiting.left);
  EventDic ev;
  ev.event = kor::util::kEvtReconnect;
  ev.params = {{EventDic::kParamHandle, std::to_string(waiting.key.first)},
               {EventDic::kParamIpFamily, waiting.key.second == kor::util::IPFamily::kIpv4 ? "4" : "6"},
               {kor::util::kParamAttempt, std::to_string(waiting.attempt)},
               {kor::util::kParamWaitMs, std::to_string(wait.count())}};
  publish_(ev);
}

// On the modem's thread.
void Router::TakeState(ModemState state) {
  EventDic ev;
  ev.event = kor::util::kEvtModemState;
  ev.params = {{kor::util::kParamModemState, TextOf(state)}};
  publish_(ev);
  if (state == ModemState::kReady) auto_connect_.ModemHasCome();
}

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
    written_.clear();  // The old or the new text may be there.
  }
}

}  // namespace kor::vendor::qcom::qcmap
