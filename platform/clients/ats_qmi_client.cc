// SPDX-License-Identifier: Apache-2.0
#include "common/vendor/ats_qmi_client.h"

#include <atomic>

#include "clients/over_port.h"
#include "clients/told.h"
#include "common/log.h"

namespace kor::vendor::qcom::qmi {

namespace {

using kor::modem::ModemPort;
using kor::wwan::AtManager;

std::atomic<int> s_holders{0};

void Begin(AtsQmiClient& client, ModemPort& port) {
  port.SetAtReport([&client](AtManager::Command& command) {
    kor::util::EventDic ev;
    ev.event = kor::util::kEvtAtCommand;
    ev.data = &command;
    client.event_cbs.Notify(ev);
  });
}

}  // namespace

AtsQmiClient* AtsQmiClient::GetInstance() {
  auto* const instance = OnlyClient<AtsQmiClient>(Begin);
  ++s_holders;
  return instance;
}

void AtsQmiClient::ReleaseInstance() {
  if (--s_holders >= 0) return;
  ++s_holders;
  KOR_LOG(LOG_ERR, "more releases than holders\n");
}

int AtsQmiClient::RegisterCommands(std::list<std::string> names) {
  return static_cast<int>(Told::Over(PortOf(this)).Names(names));
}

int AtsQmiClient::SendResponse(AtManager::Command& cmd, bool result, std::string text) {
  return static_cast<int>(PortOf(this).AnswerAtCommand(cmd, result, text));
}

int AtsQmiClient::SendNotification(std::string text) { return static_cast<int>(PortOf(this).ShowAtText(text)); }

}  // namespace kor::vendor::qcom::qmi
