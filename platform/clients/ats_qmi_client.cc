// SPDX-License-Identifier: Apache-2.0
#include "common/vendor/ats_qmi_client.h"

#include <atomic>
#include <stdexcept>

#include "clients/operation.h"
#include "common/log.h"

namespace kor::vendor::qcom::qmi {

namespace {

using kor::modem::ModemPort;
using kor::wwan::AtManager;

std::atomic<int> s_holders{0};

AtsQmiClient* CreateClient() {
  auto* const client = new AtsQmiClient;
  ModemPort::Get().SetAtReport([client](AtManager::Command& command) {
    kor::util::EventDic ev;
    ev.event = kor::util::kEvtAtCommand;
    ev.data = &command;
    client->event_cbs.Notify(ev);
  });
  return client;
}

std::string Joined(const std::list<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : " ") + ArgumentText(name);
  return text;
}

}  // namespace

AtsQmiClient* AtsQmiClient::GetInstance() {
  if (!Admitted("AtsQmiClient.GetInstance")) throw std::runtime_error("AtsQmiClient: the modem is not reachable");
  static AtsQmiClient* const instance = CreateClient();
  ++s_holders;
  return instance;
}

void AtsQmiClient::ReleaseInstance() {
  if (--s_holders >= 0) return;
  ++s_holders;
  KOR_LOG(LOG_ERR, "more releases than holders\n");
}

int AtsQmiClient::RegisterCommands(std::list<std::string> names) {
  const kor::Result admitted = Ask("RegisterCommands", Joined(names));
  if (admitted != kor::Result::kSuccess) return static_cast<int>(admitted);
  return static_cast<int>(ModemPort::Get().RegisterAtNames(names));
}

int AtsQmiClient::SendResponse(AtManager::Command& cmd, bool result, std::string text) {
  const kor::Result admitted = Ask("SendResponse", cmd.name, result, text);
  if (admitted != kor::Result::kSuccess) return static_cast<int>(admitted);
  return static_cast<int>(ModemPort::Get().AnswerAtCommand(cmd, result, text));
}

int AtsQmiClient::SendNotification(std::string text) {
  const kor::Result admitted = Ask("SendNotification", text);
  if (admitted != kor::Result::kSuccess) return static_cast<int>(admitted);
  return static_cast<int>(ModemPort::Get().ShowAtText(text));
}

}  // namespace kor::vendor::qcom::qmi
