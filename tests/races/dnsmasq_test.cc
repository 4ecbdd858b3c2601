// SPDX-License-Identifier: Apache-2.0
// The forwarder is killed, stopped and started while calls come and go: names resolve again, by real queries, and a
// second one is never started beside the first. The seed is printed; KWWAN_STORY_SEED plays one again,
// KWWAN_STORY_SECONDS and KWWAN_CYCLES say for how long.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "simulator/sim_modem.h"
#include "support/ask_forwarder.h"
#include "support/dns_files.h"
#include "support/files.h"
#include "support/story.h"
#include "support/wait.h"
#include "wwan/data_manager.h"
#include "wwan/dns_ctrl_manager.h"

namespace kor::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using kor::modem::SimModem;
using kor::util::IPFamily;
using kor::wwan::DataManager;

constexpr char kWrapper[] = "/tmp/dnsmasq";
constexpr char kRefused[] = "/tmp/refused";  // The statuses of forwarders that gave up at once.

// Asks the forwarder for a name that was never asked before.
bool Resolves() {
  static int number = 1'000'000;
  const std::string label = std::to_string(++number);
  const std::string query =
      label.substr(5) + std::string("\1\0\0\1\0\0\0\0\0\0\7", 11) + label + std::string("\5kwwan\0\0\1\0\1", 11);
  const std::string answer = AskForwarder(query);
  return answer.size() > query.size() && answer[7] == 1;  // One answer.
}

long Forwarders() {
  return std::count_if(std::filesystem::directory_iterator("/proc"), {}, [](const auto& entry) {
    return ReadFile(entry.path() / "cmdline").rfind(std::string("dnsmasq\0-r", 10), 0) == 0;
  });
}

// Whether there was one. It is gone then.
bool KillForwarder() {
  const std::string pid = std::to_string(atoi(ReadFile(kDnsmasqPidFile).c_str()));
  if (ReadFile("/proc/" + pid + "/cmdline").rfind("dnsmasq", 0) != 0) return false;
  kill(stoi(pid), SIGKILL);
  EXPECT_TRUE(Eventually([&] { return access(("/proc/" + pid).c_str(), F_OK) != 0; }));
  return true;
}

class DnsmasqStoriesTest : public testing::Test {
 protected:
  // The carrier's name server: every name has one address.
  static void SetUpTestSuite() {
    Shell(
        "dnsmasq --conf-file=/dev/null --no-resolv --no-hosts --pid-file=/tmp/carrier.pid --bind-interfaces "
        "--listen-address=127.0.0.2 --address=/kwwan/10.1.2.3");
  }

  DnsmasqStoriesTest() {
    printf("seed %u\n", seed_);
    // One that finds another at its address gives up.
    WriteFile(kWrapper,
              std::string("#!/bin/sh\nPATH=/usr/sbin:/usr/bin dnsmasq \"$@\" || echo $? >>") + kRefused + "\n");
    EXPECT_EQ(0, chmod(kWrapper, S_IRWXU));
    setenv("PATH", (std::string("/tmp:") + getenv("PATH")).c_str(), 1);
    for (const int32_t handle : {100, 101, 102}) modem_.SetDnsServers(handle, IPFamily::kIpv4, "127.0.0.2", "");
    for (int i = 0; i < 2; ++i) EXPECT_TRUE(data_.CreatePdn(kor::wwan::Tech::kAny, IPFamily::kIpv4, 1, 1));
    modem_.SetConnectDelay(SimModem::Milliseconds(1));
    modem_.SetDisconnectDelay(SimModem::Milliseconds(1));
    EXPECT_TRUE(dns_.StartService());
    EXPECT_EQ(0, static_cast<int>(data_.Connect(0, IPFamily::kIpv4, true)));
  }
  ~DnsmasqStoriesTest() override { EXPECT_EQ(0, static_cast<int>(data_.Disconnect(0, IPFamily::kIpv4, true))); }

  // Works within the bound: how long it took is kept.
  void ExpectOneThatAnswers() {
    const auto start = Clock::now();
    EXPECT_TRUE(Eventually(Resolves)) << ReadFile(kServerList);
    longest_ = std::max(longest_, Clock::now() - start);
    EXPECT_TRUE(Eventually([] { return Forwarders() == 1; })) << Forwarders();
    EXPECT_EQ("", ReadFile(kRefused));
  }

  void Report(const char* what, unsigned count) const {
    printf("%u %s; the longest time without names was %d ms\n", count, what, static_cast<int>(longest_ / 1ms));
  }

  SimModem& modem_ = SimModem::Get();
  DataManager data_;
  kor::wwan::DnsCtrlManager dns_;
  const unsigned seed_ = Setting("KWWAN_STORY_SEED", 5);
  Dice dice_{seed_};
  Clock::duration longest_{};
};

TEST_F(DnsmasqStoriesTest, KilledAtAnyMomentItIsBackWithTheNextInterfaceEvent) {
  unsigned kills = 0;
  const auto end = Clock::now() + std::chrono::seconds(Setting("KWWAN_STORY_SECONDS", 3));
  while (Clock::now() < end && !HasFailure()) {
    for (unsigned times = 1 + dice_.Below(4); times > 0; --times) {
      const uint32_t index = 1 + dice_.Below(2);
      (void)(dice_.OneIn(2) ? data_.Connect(index, IPFamily::kIpv4, false)
                            : data_.Disconnect(index, IPFamily::kIpv4, false));
    }
    dice_.Dally(40ms);
    kills += KillForwarder() ? 1 : 0;
    ASSERT_TRUE(modem_.WaitIdle(kLongEnough));
    EXPECT_EQ(0, static_cast<int>(data_.Disconnect(1, IPFamily::kIpv4, true)));
    EXPECT_EQ(0, static_cast<int>(data_.Connect(1, IPFamily::kIpv4, true)));
    ExpectOneThatAnswers();
  }
  EXPECT_GT(kills, 0u);
  Report("kills", kills);
}

TEST_F(DnsmasqStoriesTest, StoppedAndStartedAtOnceItWorksEachTime) {
  const unsigned times = Setting("KWWAN_CYCLES", 50);
  for (unsigned i = 0; i < times && !HasFailure(); ++i) {
    EXPECT_TRUE(dns_.StopService());
    EXPECT_TRUE(dns_.StartService());
    ExpectOneThatAnswers();
  }
  Report("restarts", times);
}

}  // namespace
}  // namespace kor::test
