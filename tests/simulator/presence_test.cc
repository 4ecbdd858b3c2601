// SPDX-License-Identifier: Apache-2.0
// The modem goes, and comes back.
#include <atomic>
#include <future>
#include <list>
#include <string>

#include "common/modem_events.h"
#include "common/router_events.h"
#include "common/vendor/ats_qmi_client.h"
#include "common/vendor/dms_qmi_client.h"
#include "common/vendor/m2m_qmi_client.h"
#include "common/vendor/nas_qmi_client.h"
#include "port/modem_port.h"
#include "simulator/bench.h"
#include "simulator/scenario.h"
#include "support/secrets.h"
#include "support/wait.h"

namespace kor::test {

using namespace kor::vendor::qcom::qmi;
using kor::modem::ModemPort;
using kor::modem::ModemState;
using kor::modem::RunScenarioLine;

class PresenceTest : public BenchTest {
 protected:
  PresenceTest() {
    port.AddStateReport([this](ModemState state) { heard += "asrg"[static_cast<size_t>(state)]; });
    modem.SetSimDelay(Milliseconds(0));
  }

  ModemPort& port = ModemPort::Get();
  std::string heard;  // The modem's thread adds to it until it is idle.
};

TEST_F(PresenceTest, WhatWaitsFailsAtOnceAndWhatWasToldOnceIsToldAgain) {
  // A modem that was not there hears that the software is ready when it comes.
  EXPECT_TRUE(modem.Leave());
  EXPECT_EQ(static_cast<int>(kNotReady), M2mQmiClient::GetInstance()->SetSoftwareReady());
  modem.Return(Milliseconds(0));
  EXPECT_TRUE(Eventually([this] { return modem.IsSoftwareReady(); }));

  auto* const ats = AtsQmiClient::GetInstance();
  EXPECT_EQ(0, ats->RegisterCommands({"+KW"}));
  EXPECT_EQ(kSuccess, port.SetPinLock(1, true, "1234"));
  BringUp(0, kIpv4);
  modem.SetConnectDelay(std::chrono::hours(1));
  modem.SetScanDelay(std::chrono::hours(1));
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv6));
  std::promise<kor::Result> scanned;
  EXPECT_TRUE(
      NasQmiClient::GetInstance()->StartScanAsync([&](auto& scan, void*) { scanned.set_value(scan.result); }, nullptr));
  auto typed = std::async(std::launch::async, [this] { return modem.Type("AT+KW"); });

  // Whatever waits for the modem holds nobody else up.
  modem.SetRecording(true);
  modem.SetRoundTrip(std::chrono::hours(1));
  std::list<std::future<int>> asked;
  const auto ask = [&](auto operation) { asked.push_back(std::async(std::launch::async, operation)); };
  ask([&] { return ats->RegisterCommands({"+KX"}); });
  ask([&] { return ats->SendNotification("news"); });
  ask([] { return M2mQmiClient::GetInstance()->SetSoftwareReady(); });
  ask([] { return static_cast<int>(DmsQmiClient::GetInstance()->SetPinLock(1, false, kPin)); });
  ask([this] {
    NetworkConfig config;
    return static_cast<int>(qcmap->GetNetworkConfig(0, kIpv4, config));
  });
  size_t waiting = 0;
  EXPECT_TRUE(Eventually([&] { return (waiting += modem.TakeRecord().size()) >= asked.size(); }));
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv4));
  modem.SetConnectDelay(Milliseconds(0));
  EXPECT_EQ("connected connecting", States(0));

  listener.Observe([this] { return States(0) + (port.State() == ModemState::kGone ? " gone" : " there"); });
  std::string ends;
  qcmap->event_cbs.Add(this, [&](kor::util::EventDic& ev) {
    if (ev.event != kor::util::kEvtModemState) ends += ev.params[kor::util::kParamCallEndText] + "; ";
  });
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(RunScenarioLine(modem, "gone").ok);
  EXPECT_FALSE(RunScenarioLine(modem, "gone").ok);
  EXPECT_EQ("disconnected 100 4, disconnected connecting gone", listener.Next());
  EXPECT_EQ("connect-failed 100 6, disconnected disconnected gone", listener.Next());
  listener.Observe(nullptr);
  qcmap->event_cbs.Remove(this);
  EXPECT_EQ("the modem is gone; the modem is gone; ", ends);
  EXPECT_EQ(kNotReady, scanned.get_future().get());
  EXPECT_EQ("ERROR", typed.get());
  for (auto& result : asked) EXPECT_EQ(static_cast<int>(kNotReady), result.get());
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));  // Half the time for an answer.
  modem.SetRoundTrip(Milliseconds(0));
  EXPECT_EQ("failure", Config(0, kIpv4));
  EXPECT_EQ(kNotReady, qcmap->ConnectBackhaul(0, kIpv4));
  EXPECT_EQ("+CME ERROR: 1", modem.Type("AT+CMEE=1;+CSQ"));
  EXPECT_FALSE(modem.ReceiveSms(kor::wwan::SmsManager::MessageClass::kClass0, "+49", "lost"));
  EXPECT_FALSE(modem.IsSoftwareReady());

  // Back: its card wants the PIN, and it knows the names and that the software is ready.
  EXPECT_TRUE(RunScenarioLine(modem, "back 10").ok);
  EXPECT_EQ(kNotReady, port.VerifyPin(1, "1234"));
  EXPECT_TRUE(Eventually([this] { return modem.IsSoftwareReady(); }));
  EXPECT_EQ("gsrgsr", heard);
  kor::modem::PinStatus pin;
  EXPECT_EQ(kor::Result{0x10c}, port.VerifyPin(1, kWrongPin));
  EXPECT_EQ(kSuccess, port.GetPinStatus(1, 1, pin));
  EXPECT_TRUE(pin.state == kor::Result{0x101} && pin.tries_left == 2 && pin.puk_tries_left == 10);
  EXPECT_EQ(kSuccess, port.VerifyPin(1, "1234"));
  modem.SetAnswerLimit(Milliseconds(1));
  std::atomic<int> forwarded{0};
  ats->event_cbs.Add(this, [&](kor::util::EventDic&) { ++forwarded; });
  EXPECT_EQ("ERROR", modem.Type("AT+KW"));
  EXPECT_TRUE(Eventually([&] { return forwarded == 1; }));
  ats->event_cbs.Remove(this);
  modem.SetConnectDelay(Milliseconds(0));
  BringUp(0, kIpv4);
}

TEST_F(PresenceTest, WhatRunsIsFoundAndTakenOver) {
  BringUp(0, kIpv4);
  EXPECT_TRUE(RunScenarioLine(modem, "running 102 6 2").ok);
  EXPECT_FALSE(RunScenarioLine(modem, "running 100 4 1").ok);
  std::list<kor::modem::RunningCall> calls;
  EXPECT_EQ(kSuccess, port.GetCalls(calls));
  std::string text;
  for (const auto& call : calls) {
    text += std::to_string(call.handle) + " " + std::to_string(call.profile) + " " + call.config.address + "/" +
            std::to_string(call.config.prefix_length) + " " + call.config.gateway + " " +
            std::to_string(call.config.mtu) + " " + call.config.dns_1 + "; ";
  }
  EXPECT_EQ("100 1 10.64.0.2/30 10.64.0.1 1500 10.255.0.53; 102 2 fd64:1::2/64 fd64:1::1 1500 fd64:ffff::53; ", text);
  EXPECT_EQ(kSuccess, port.StartCall({102, kIpv6, 2, 9}));
  EXPECT_EQ("connected 102 6", listener.Next());
  EXPECT_TRUE(modem.Drop(102, kIpv6));
  EXPECT_EQ("disconnected 102 6", listener.Next());
}

}  // namespace kor::test
