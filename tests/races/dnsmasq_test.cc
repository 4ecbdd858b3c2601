// SPDX-License-Identifier: Apache-2.0
// The forwarder is killed, stopped and started while calls come and go: names resolve again, by real queries, and a
// second one is never started beside the first. The seed is printed; KWWAN_STORY_SEED plays one again,
// KWWAN_STORY_SECONDS and KWWAN_CYCLES say for how long.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "simulator/sim_modem.h"
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

constexpr char kPidFile[] = "/var/run/netctld-dnsmasq/dnsmasq.pid";
constexpr char kWrapper[] = "/tmp/dnsmasq";
constexpr char kRefused[] = "/tmp/refused";  // The statuses of forwarders that gave up at once.
constexpr size_t kHeader = 12;               // Of a DNS message.

sockaddr_in At53(const char* address) {
  sockaddr_in at{};
  at.sin_family = AF_INET;
  at.sin_port = htons(53);
  inet_pton(AF_INET, address, &at.sin_addr);
  return at;
}

// The carrier's name server, at 127.0.0.2: every name has one address.
class NameServer {
 public:
  NameServer() {
    const sockaddr_in at = At53("127.0.0.2");
    EXPECT_EQ(0, bind(fd_, reinterpret_cast<const sockaddr*>(&at), sizeof(at)));
    thread_ = std::thread([this] { Serve(); });
  }
  ~NameServer() {
    shutdown(fd_, SHUT_RDWR);
    thread_.join();
    close(fd_);
  }

 private:
  void Serve() {
    char text[512];
    sockaddr_in from{};
    socklen_t from_size = sizeof(from);
    ssize_t size = 0;
    while ((size = recvfrom(fd_, text, sizeof(text), 0, reinterpret_cast<sockaddr*>(&from), &from_size)) > 0) {
      const std::string query(text, static_cast<size_t>(size));
      const size_t end = query.find('\0', kHeader) + 5;
      const std::string answer = query.substr(0, 2) + std::string("\x81\x80\0\1\0\1\0\0\0\0", 10) +
                                 query.substr(kHeader, end - kHeader) +
                                 std::string("\xc0\x0c\0\1\0\1\0\0\0\0\0\4\x0a\1\2\3", 16);
      sendto(fd_, answer.data(), answer.size(), 0, reinterpret_cast<sockaddr*>(&from), from_size);
      from_size = sizeof(from);
    }
  }

  const int fd_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  std::thread thread_;
};

// Asks the forwarder for a name that was never asked before.
bool Resolves() {
  static int number = 1'000'000;
  const std::string label = std::to_string(++number);
  const std::string query =
      label.substr(5) + std::string("\1\0\0\1\0\0\0\0\0\0\7", 11) + label + std::string("\5kwwan\0\0\1\0\1", 11);
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const sockaddr_in at = At53("127.0.0.1");
  char text[512];
  pollfd ready{fd, POLLIN, 0};
  const bool answered = connect(fd, reinterpret_cast<const sockaddr*>(&at), sizeof(at)) == 0 &&
                        send(fd, query.data(), query.size(), 0) > 0 && poll(&ready, 1, 200) == 1 &&
                        recv(fd, text, sizeof(text), 0) > static_cast<ssize_t>(query.size());
  close(fd);
  return answered && text[7] == 1;  // One answer.
}

long Forwarders() {
  return std::count_if(std::filesystem::directory_iterator("/proc"), {}, [](const auto& entry) {
    return ReadFile(entry.path() / "cmdline").rfind(std::string("dnsmasq\0-r", 10), 0) == 0;
  });
}

// Whether there was one. It is gone then.
bool KillForwarder() {
  const std::string pid = std::to_string(atoi(ReadFile(kPidFile).c_str()));
  if (ReadFile("/proc/" + pid + "/cmdline").rfind("dnsmasq", 0) != 0) return false;
  kill(stoi(pid), SIGKILL);
  EXPECT_TRUE(Eventually([&] { return access(("/proc/" + pid).c_str(), F_OK) != 0; }));
  return true;
}

class DnsmasqStoriesTest : public testing::Test {
 protected:
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
    EXPECT_TRUE(Eventually(Resolves)) << ReadFile("/var/run/netctld-dnsmasq/dnsmasq_resolv.conf");
    longest_ = std::max(longest_, Clock::now() - start);
    EXPECT_TRUE(Eventually([] { return Forwarders() == 1; })) << Forwarders();
    EXPECT_EQ("", ReadFile(kRefused));
  }

  void Report(const char* what, unsigned count) const {
    printf("%u %s; the longest time without names was %d ms\n", count, what, static_cast<int>(longest_ / 1ms));
  }

  SimModem& modem_ = SimModem::Get();
  NameServer server_;
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
