// SPDX-License-Identifier: Apache-2.0
#include "at/scripted_at_client.h"

#include <atomic>
#include <stdexcept>
#include <utility>

#include "common/vendor/ats_qmi_client.h"
#include "common/vendor/m2m_qmi_client.h"
#include "support/subscribers.h"

namespace kor::test {

namespace {

using kor::vendor::qcom::qmi::AtsQmiClient;

std::atomic<int> g_holders{0};

AtsQmiClient& TheClient() {
  static AtsQmiClient& client = *new AtsQmiClient;
  return client;
}

}  // namespace

Record AtClient::answers;
Record AtClient::requests;
Record AtClient::others;
std::function<int(const std::list<std::string>&)> AtClient::on_request;
std::function<void(const Command&, const std::string&)> AtClient::on_answer;
bool AtClient::m2m_reachable = true;

void AtClient::Reset() {
  on_request = nullptr;
  on_answer = nullptr;
  m2m_reachable = true;
  g_holders = 0;
  for (Record* record : {&answers, &requests, &others}) (void)record->Take(0);
}

void AtClient::Forward(Command cmd) { Publish(kor::util::kEvtAtCommand, &cmd); }

void AtClient::Publish(uint32_t event, void* data) {
  kor::util::EventDic ev;
  ev.event = event;
  ev.data = data;
  TheClient().event_cbs.Notify(ev);
}

int AtClient::holders() { return g_holders; }

long AtClient::subscribers() { return kor::util::EventCbMapPeer::Count(TheClient().event_cbs); }

}  // namespace kor::test

namespace kor::vendor::qcom::qmi {

using kor::test::AtClient;

AtsQmiClient* AtsQmiClient::GetInstance() {
  ++kor::test::g_holders;
  return &kor::test::TheClient();
}

void AtsQmiClient::ReleaseInstance() { --kor::test::g_holders; }

int AtsQmiClient::RegisterCommands(std::list<std::string> names) {
  std::string line;
  for (const auto& name : names) line += (line.empty() ? "" : " ") + name;
  AtClient::requests.Add(line);
  return AtClient::on_request ? AtClient::on_request(names) : 0;
}

int AtsQmiClient::SendResponse(kor::wwan::AtManager::Command& cmd, bool result, std::string text) {
  if (AtClient::on_answer) {
    AtClient::on_answer(cmd, text);
  } else {
    AtClient::answers.Add(cmd.name + (result ? " OK " : " ERROR ") + text);
  }
  return 0;
}

int AtsQmiClient::SendNotification(std::string text) {
  AtClient::others.Add("SendNotification " + text);
  return 41;
}

M2mQmiClient* M2mQmiClient::GetInstance() {
  static M2mQmiClient& client = *new M2mQmiClient;
  if (!AtClient::m2m_reachable) throw std::runtime_error("no modem");
  return &client;
}

int M2mQmiClient::SetSoftwareReady() {
  AtClient::others.Add("SetSoftwareReady");
  return 42;
}

}  // namespace kor::vendor::qcom::qmi
