// SPDX-License-Identifier: Apache-2.0
// The life of a call as the vendor's client sees it.
#include "simulator/calls.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <string>
#include <thread>
#include <utility>

#include "simulator/bench.h"
#include "support/wait.h"

namespace kor::test {

class CallsTest : public BenchTest {};

TEST_F(CallsTest, ACallComesUpAndGoesDown) {
  EXPECT_EQ("disconnected disconnected", States(0));
  modem.SetRecording(true);
  EXPECT_EQ("failure", Config(0, kIpv4));
  EXPECT_TRUE(modem.TakeRecord().empty());  // Known here.

  // Events come from the modem's thread, which shows them the state that belongs to them.
  const auto caller = std::this_thread::get_id();
  listener.Observe([this, caller] {
    EXPECT_FALSE(modem.WaitIdle(kLongEnough));  // It would wait for itself.
    return (std::this_thread::get_id() == caller ? "inside, " : "outside, ") + States(0);
  });
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv4));
  EXPECT_EQ("connecting disconnected", States(0));
  EXPECT_EQ("connected 100 4, outside, connected disconnected", listener.Next());
  EXPECT_EQ("success 10.64.0.2 10.255.0.53 -", Config(0, kIpv4));

  // The IPv6 call is another one; it shares the link's number.
  EXPECT_EQ("connected 100 6, outside, connected connected", Connect(0, kIpv6));
  EXPECT_EQ("success fd64:0::2 fd64:ffff::53 -", Config(0, kIpv6));

  EXPECT_EQ(kSuccess, qcmap->DisconnectBackhaul(0, kIpv4));
  EXPECT_EQ("disconnecting connected", States(0));
  EXPECT_EQ("disconnected 100 4, outside, disconnected connected", listener.Next());
  EXPECT_EQ("failure", Config(0, kIpv4));
  listener.Observe(nullptr);
  ExpectQuiet();
}

TEST_F(CallsTest, WhatIsAskedTwiceIsReportedTwice) {
  // Up already, twice on the way up, and down already.
  BringUp(0, kIpv4);
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv4));
  EXPECT_EQ("connected disconnected", States(0));
  EXPECT_EQ("connected 100 4", listener.Next());
  for (int i = 0; i < 2; ++i) EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv6));
  for (int i = 0; i < 2; ++i) EXPECT_EQ("connected 100 6", listener.Next());
  for (int i = 0; i < 2; ++i) EXPECT_EQ("disconnected 100 6", Disconnect(0, kIpv6));

  // Going down it takes no connect and, asked twice, goes down once, also when the network drops it meanwhile.
  modem.SetDisconnectDelay(Milliseconds(100));
  for (int i = 0; i < 2; ++i) EXPECT_EQ(kSuccess, qcmap->DisconnectBackhaul(0, kIpv4));
  EXPECT_EQ(kFailure, qcmap->ConnectBackhaul(0, kIpv4));
  EXPECT_EQ("disconnecting disconnected", States(0));
  EXPECT_EQ("disconnected 100 4", listener.Next());
  BringUp(0, kIpv4);
  EXPECT_EQ(kSuccess, qcmap->DisconnectBackhaul(0, kIpv4));
  EXPECT_TRUE(modem.Drop(100, kIpv4));
  EXPECT_EQ("disconnected 100 4", listener.Next());
  EXPECT_FALSE(modem.Drop(100, kIpv4) || modem.Drop(101, kIpv4));
  ExpectQuiet();
}

TEST_F(CallsTest, ACallThatIsComingUpIsGivenUp) {
  // Whether its own time would come after the end of the disconnect or before, it never comes up.
  modem.SetConnectDelay(Milliseconds(300));
  for (const Milliseconds delay : {Milliseconds(0), Milliseconds(600)}) {
    modem.SetDisconnectDelay(delay);
    EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv4));
    EXPECT_EQ("connect-failed 100 4", Disconnect(0, kIpv4));
    EXPECT_EQ("disconnected 100 4", listener.Next());
    EXPECT_EQ("disconnected disconnected", States(0));
  }
  ExpectQuiet();
}

TEST_F(CallsTest, ACallUsesItsFamilysProfile) {
  // The third profile is for IPv4 alone, and there is no fourth.
  ASSERT_TRUE(qcmap->SetWwanPolicy(0, kor::wwan::Tech::kAny, kBoth, 3, 1));
  BringUp(0, kIpv4);
  BringUp(0, kIpv6);
  ASSERT_TRUE(qcmap->CreateWwanPolicy(kor::wwan::Tech::kAny, kBoth, 4, 3));
  EXPECT_EQ(kFailure, qcmap->ConnectBackhaul(1, kIpv4));
  EXPECT_EQ(kFailure, qcmap->ConnectBackhaul(1, kIpv6));
  EXPECT_EQ("disconnected disconnected", States(1));
  ExpectQuiet();
}

TEST_F(CallsTest, NameServersAreTheNetworksButOnlyAddressesArriveHere) {
  // By family, by call, and whatever the network sends.
  ASSERT_TRUE(qcmap->CreateWwanPolicy(kor::wwan::Tech::kAny, kBoth, 2, 2));
  modem.SetDnsServers(kIpv4, "8.8.8.8", "0.0.0.0");
  modem.SetDnsServers(kIpv6, "10.0.0.1", "2001:db8::1");
  modem.SetDnsServers(101, kIpv4, "9.9.9.9\nnameserver 6.6.6.6", "9.9.9.9 ");
  modem.SetDnsServers(101, kIpv6, "", std::string("2001:db8::2\0x", 13));
  for (const IPFamily family : {kIpv4, kIpv6}) {
    BringUp(0, family);
    BringUp(1, family);
  }
  EXPECT_EQ("success 10.64.0.2 8.8.8.8 0.0.0.0", Config(0, kIpv4));
  EXPECT_EQ("success fd64:0::2 - 2001:db8::1", Config(0, kIpv6));
  EXPECT_EQ("success 10.64.1.2 - -", Config(1, kIpv4));
  EXPECT_EQ("success fd64:1::2 - -", Config(1, kIpv6));
}

TEST_F(CallsTest, TheModemsThreadTakesNoSignalAndAHostMayIgnoreItsChildren) {
  // A host that ignores SIGCHLD and blocks everything else still gets interfaces.
  static std::atomic<int> taken{0};
  signal(SIGCHLD, SIG_IGN);
  signal(SIGUSR1, [](int) { ++taken; });
  modem.SetLinks(true);
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
  BringUp(0, kIpv4);
  EXPECT_EQ("10.64.0.2", Addresses("rmnet_data0"));

  // With every other thread deaf the signal waits.
  kill(getpid(), SIGUSR1);
  BringUp(0, kIpv6);
  sigset_t waiting;
  sigpending(&waiting);
  EXPECT_EQ(1, sigismember(&waiting, SIGUSR1));
  EXPECT_EQ(0, taken);
  pthread_sigmask(SIG_UNBLOCK, &all, nullptr);
  signal(SIGCHLD, SIG_DFL);
}

// The modem's calls alone, with a service that comes and goes as the test has it.
class CallsAloneTest : public testing::Test {
 protected:
  using CallEvent = kor::modem::CallEvent;

  CallsAloneTest() {
    links.SetEnabled(false);
    calls.SetReport([this](const kor::modem::CallReport& report) {
      heard += "+f-F"[static_cast<size_t>(report.event)] + std::to_string(report.serial) + " ";
      ends += std::to_string(report.end.code) + " ";
      if (report.event == CallEvent::kDisconnected && again != 0) Start(std::exchange(again, 0));
    });
  }

  void Start(uint64_t serial) { EXPECT_EQ(kSuccess, calls.Start({100, kIpv4, 1, serial})); }
  void Stop(uint64_t serial) { EXPECT_EQ(kSuccess, calls.Stop(100, kIpv4, serial)); }

  // The reports since the last time, each with its serial: "+1" connected, "f1" connect failed, "-1" disconnected, "F1"
  // disconnect failed.
  std::string Heard() {
    EXPECT_TRUE(events.WaitIdle(kLongEnough));
    return std::exchange(heard, "");
  }

  // Alive until the process ends. Not started before main, which forks.
  static kor::modem::EventThread& Thread() {
    static auto* const thread = new kor::modem::EventThread;
    return *thread;
  }

  kor::modem::EventThread& events = Thread();
  kor::modem::Links links;
  kor::modem::Faults faults;
  std::atomic<bool> service{true};
  std::string heard;
  std::string ends;    // Their reasons' codes; 0 for none of the network's.
  uint64_t again = 0;  // The serial of a start that follows on the next disconnect, from inside its report.
  kor::modem::Calls calls{events, links, faults, [this] { return service.load(); }};
};

TEST_F(CallsAloneTest, AReportCarriesTheLatestRequestThatItAnswers) {
  Start(1);
  Start(2);
  EXPECT_EQ("+2 +2 ", Heard());
  again = 4;
  Stop(3);
  EXPECT_EQ("-3 +4 ", Heard());
  EXPECT_TRUE(calls.Drop(100, kIpv4));
  EXPECT_EQ("-4 ", Heard());
  faults.Set(kor::modem::Faults::kConnectFails, 1);
  Start(5);
  EXPECT_EQ("f5 ", Heard());
  Start(6);
  Stop(7);
  EXPECT_EQ("f7 -7 ", Heard());
  faults.Set(kor::modem::Faults::kDisconnectFails, 1);
  Stop(8);
  EXPECT_EQ("F8 ", Heard());
  EXPECT_EQ("0 0 36 0 38 26 36 36 111 ", ends);
}

TEST_F(CallsAloneTest, NoCallIsUpWithoutService) {
  // Service is lost when a start has been checked and there is no call yet that could be dropped.
  Start(1);
  service = false;
  EXPECT_EQ("f1 ", Heard());
  EXPECT_EQ(kFailure, calls.Start({100, kIpv4, 1, 2}));

  // It was lost for a moment, and the call comes up before the loss is seen to: it goes down again.
  service = true;
  calls.SetConnectDelay(Milliseconds(0));
  std::promise<void> gate;
  events.Post(Milliseconds(0), [opens = gate.get_future().share()] { opens.wait(); });
  Start(3);
  calls.DropAll({0, "no service"});
  gate.set_value();
  EXPECT_EQ("+3 -3 ", Heard());
}

}  // namespace kor::test
