// SPDX-License-Identifier: Apache-2.0
// The modem in its host: signals, subscribers that ask, many threads.
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "simulator/bench.h"
#include "support/wait.h"

namespace kor::test {

class HostsTest : public BenchTest {};

TEST_F(HostsTest, TheModemsThreadTakesNoSignalAndAHostMayIgnoreItsChildren) {
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

TEST_F(HostsTest, AnEventMayAskTheModem) {
  // A host that reconnects from the event itself, until the third time; there it is the modem's thread that would wait.
  std::atomic<int> drops{0};
  char key = 0;
  qcmap->event_cbs.Add(&key, [&](kor::util::EventDic& ev) {
    if (ev.event == kor::util::kEvtWwanConnected) {
      EXPECT_TRUE(modem.Drop(100, kIpv4));
    }
    if (ev.event != kor::util::kEvtWwanDisconnected || ++drops == 3) return;
    EXPECT_FALSE(modem.WaitIdle(kLongEnough));
    EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv4));
  });
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv4));
  EXPECT_TRUE(modem.WaitIdle(kLongEnough));
  qcmap->event_cbs.Remove(&key);
  EXPECT_EQ(3, drops);
  EXPECT_EQ("disconnected disconnected", States(0));
}

// Everything at once; the sanitizers look on, and in the end every call can be taken down.
TEST_F(HostsTest, ManyThreadsAskAtOnce) {
  constexpr int kThreads = 8;
  constexpr int kRounds = 60;
  modem.SetConnectDelay(Milliseconds(1));
  modem.SetDisconnectDelay(Milliseconds(0));
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([this, t] {
      const IPFamily family = t % 2 == 0 ? kIpv4 : kIpv6;
      Listener own(qcmap);
      for (int i = 0; i < kRounds; ++i) {
        const auto index = static_cast<uint32_t>((t + i) % 3);
        (void)qcmap->ConnectBackhaul(index, family);
        (void)Config(index, family);
        (void)States(index);
        if (i % 5 == 0) qcmap->CreateWwanPolicy(kor::wwan::Tech::kAny, kBoth, 1, 1);
        if (i % 7 == 0) (void)modem.Drop(100 + t, family);
        if (i % 3 == 0) (void)qcmap->DisconnectBackhaul(index, family);
        if (i % 9 == 0) qcmap->DeleteWwanPolicy(static_cast<uint8_t>(t));
        if (i % 11 == 0) modem.FailConnects(1);
        if (i % 13 == 0) (void)modem.TakeRecord();
      }
    });
  }
  for (auto& thread : threads) thread.join();
  ASSERT_TRUE(modem.WaitIdle(kLongEnough));
  modem.FailConnects(0);
  std::vector<QcmapWrapper::WwanPolicy> policies;
  ASSERT_TRUE(qcmap->GetWwanPolicies(policies));
  for (uint32_t index = 0; index < policies.size(); ++index) {
    for (const IPFamily family : {kIpv4, kIpv6}) EXPECT_EQ(kSuccess, qcmap->DisconnectBackhaul(index, family));
    ASSERT_TRUE(modem.WaitIdle(kLongEnough));
    EXPECT_EQ("disconnected disconnected", States(index));
  }
}

}  // namespace kor::test
