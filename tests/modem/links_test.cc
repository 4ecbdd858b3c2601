// SPDX-License-Identifier: Apache-2.0
// The interfaces of the calls, on a real network stack.
#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/capability.h>
#include <net/if.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>

#include "common/util/network_manager.h"
#include "modem/bench.h"
#include "support/syslog_reader.h"
#include "support/wait.h"

namespace kor::test {

class LinksTest : public BenchTest {
 protected:
  void SetUp() override {
    listener.Observe([] { return Addresses("rmnet_data0"); });
    ASSERT_EQ("absent", Addresses("rmnet_data0")) << "an interface of another test";
  }

  void TakeDown(uint32_t index, IPFamily family) {
    ASSERT_EQ(kSuccess, qcmap->DisconnectBackhaul(index, family));
    ASSERT_EQ(0u, listener.Next().find("disconnected "));
  }
};

namespace {

// A UDP socket in the network namespace `path` that sends back what it gets, on the port 7777 of every address.
class Echo {
 public:
  explicit Echo(const char* path) {
    thread_ = std::thread([this, path] {
      const int ns = open(path, O_RDONLY | O_CLOEXEC);
      ok_ = setns(ns, CLONE_NEWNET) == 0;
      close(ns);
      const int fd = socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0);
      sockaddr_in6 any{};
      any.sin6_family = AF_INET6;
      any.sin6_port = htons(7777);
      ok_ = ok_ && bind(fd, reinterpret_cast<const sockaddr*>(&any), sizeof(any)) == 0;
      ready_ = true;
      while (ok_ && Answer(fd)) continue;
      close(fd);
    });
    EXPECT_TRUE(Eventually([this] { return ready_.load(); }) && ok_);
  }
  ~Echo() { thread_.join(); }

 private:
  // False after the datagram "end".
  static bool Answer(int fd) {
    char text[16];
    sockaddr_in6 from{};
    socklen_t size = sizeof(from);
    const ssize_t n = recvfrom(fd, text, sizeof(text), 0, reinterpret_cast<sockaddr*>(&from), &size);
    if (n <= 0) return false;
    sendto(fd, text, static_cast<size_t>(n), 0, reinterpret_cast<const sockaddr*>(&from), size);
    return std::string(text, static_cast<size_t>(n)) != "end";
  }

  std::atomic<bool> ready_{false};
  std::atomic<bool> ok_{false};
  std::thread thread_;
};

// What comes back from `address` within a few seconds; "unreachable" or "silence".
std::string Ask(const std::string& address, const std::string& text) {
  const bool ipv4 = address.find(':') == std::string::npos;
  sockaddr_in6 to{};
  to.sin6_family = AF_INET6;
  to.sin6_port = htons(7777);
  inet_pton(AF_INET6, (ipv4 ? "::ffff:" + address : address).c_str(), &to.sin6_addr);
  const int fd = socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const timeval limit{5, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
  char answer[16] = "";
  const bool sent = sendto(fd, text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof(to)) >= 0;
  const ssize_t n = sent ? recv(fd, answer, sizeof(answer), 0) : -1;
  close(fd);
  if (!sent) return "unreachable";
  return n < 0 ? "silence" : std::string(answer, static_cast<size_t>(n));
}

// Takes CAP_NET_ADMIN from this thread, from those that it starts and from their programs.
bool GiveUpNetAdmin() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3];
  if (syscall(SYS_capget, &header, data) != 0) return false;
  for (__u32* const set : {&data[0].effective, &data[0].permitted, &data[0].inheritable})
    *set &= ~(1u << CAP_NET_ADMIN);
  return prctl(PR_CAPBSET_DROP, CAP_NET_ADMIN, 0, 0, 0) == 0 && syscall(SYS_capset, &header, data) == 0;
}

}  // namespace

TEST_F(LinksTest, BothCallsOfAPolicyShareOneInterface) {
  // The interface is there when the event comes, with the address of the family.
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv6));
  EXPECT_EQ("connected 100 6, fd64::2", listener.Next());
  EXPECT_EQ("fd64::1", Addresses("carrier0"));
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv4));
  EXPECT_EQ("connected 100 4, 10.64.0.2 fd64::2", listener.Next());

  // The second policy has one of its own.
  ASSERT_TRUE(qcmap->CreateWwanPolicy(kor::wwan::Tech::kAny, kBoth, 2, 2));
  BringUp(1, kIpv4);
  EXPECT_EQ("10.64.1.2", Addresses("rmnet_data1"));

  // Each family takes its address along, the last one the interface: gone when the event comes.
  EXPECT_EQ(kSuccess, qcmap->DisconnectBackhaul(0, kIpv6));
  EXPECT_EQ("disconnected 100 6, 10.64.0.2", listener.Next());
  EXPECT_TRUE(modem.Drop(100, kIpv4));
  EXPECT_EQ("disconnected 100 4, absent", listener.Next());
  EXPECT_EQ("10.64.1.2", Addresses("rmnet_data1"));

  // The lowest free number is used again, whoever comes.
  ASSERT_TRUE(qcmap->CreateWwanPolicy(kor::wwan::Tech::kAny, kBoth, 3, 3));
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(2, kIpv4));
  EXPECT_EQ("connected 102 4, 10.64.0.2", listener.Next());

  // Switched off, an interface that is there still goes with its call, and a new call has none.
  modem.SetLinks(false);
  TakeDown(1, kIpv4);
  EXPECT_EQ("absent", Addresses("rmnet_data1"));
  BringUp(1, kIpv4);
  EXPECT_EQ("absent", Addresses("rmnet_data1"));
}

// Regression: a refresh of the name servers that the new interface set off used to find the call not up yet.
TEST_F(LinksTest, ACallAnswersAsLongAsItsInterfaceIsThere) {
  std::atomic<int> appeared{0};
  std::atomic<int> gone{0};
  std::atomic<int> wrong{0};
  kor::util::NetworkManager interfaces;
  interfaces.SetEventCb([&](kor::util::EventDic& ev) {
    if (ev.params[kor::util::EventDic::kParamIfaceName] != "rmnet_data0") return;
    const bool there = if_nametoindex("rmnet_data0") != 0;
    const bool answers = Config(0, kIpv4) != "failure";
    // Between the two looks the call can only go; it never is there and silent, or gone and answers.
    if (there && !answers && if_nametoindex("rmnet_data0") != 0) ++wrong;
    if (!there && answers) ++wrong;
    ++(there ? appeared : gone);
  });
  for (int round = 1; round <= 5; ++round) {
    const int before = appeared;
    BringUp(0, kIpv4);
    EXPECT_TRUE(Eventually([&] { return appeared > before; }));
    const int gone_before = gone;
    TakeDown(0, kIpv4);
    EXPECT_TRUE(Eventually([&] { return gone > gone_before; }));
  }
  interfaces.UnsetEventCb();
  EXPECT_EQ(0, wrong);
}

TEST_F(LinksTest, TheFarEndIsAnotherNetworkAndReachesBeyondTheLink) {
  ASSERT_TRUE(
      Shell("ip netns add carrier && nsenter --net=/run/netns/carrier sh -c 'ip link set lo up &&"
            " ip address add 10.255.0.53/32 dev lo && ip address add fd64:ffff::53/128 dev lo nodad'"));
  EXPECT_FALSE(modem.SetCarrierNamespace("carrier"));
  EXPECT_TRUE(modem.SetCarrierNamespace("/run/netns/carrier"));
  const Echo echo("/run/netns/carrier");
  EXPECT_EQ("unreachable", Ask("10.255.0.53", "a"));
  BringUp(0, kIpv4);
  BringUp(0, kIpv6);
  EXPECT_EQ("absent", Addresses("carrier0"));
  for (const char* address : {"10.64.0.1", "10.255.0.53", "fd64:0::1", "fd64:ffff::53"}) {
    EXPECT_EQ("hello", Ask(address, "hello")) << address;
  }

  // One family less, and it is out of reach; the other goes on.
  TakeDown(0, kIpv4);
  EXPECT_EQ("unreachable", Ask("10.255.0.53", "a"));
  EXPECT_EQ("hello", Ask("fd64:ffff::53", "hello"));
  EXPECT_EQ("end", Ask("fd64:ffff::53", "end"));

  // Without nsenter the far end cannot be set up: nothing half made stays, and the call goes on without.
  TakeDown(0, kIpv6);
  ASSERT_TRUE(Shell("mkdir /tmp/bin && ln -s $(command -v ip) /tmp/bin/ip"));
  setenv("PATH", "/tmp/bin", 1);
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv4));
  EXPECT_EQ("connected 100 4, absent", listener.Next());
}

TEST_F(LinksTest, LeftoversAreReplacedAndForeignInterfacesAreLeftAlone) {
  ASSERT_TRUE(
      Shell("ip link add rmnet_data0 type veth peer name carrier0 && ip address add 10.1.1.1/24 dev rmnet_data0"));
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv4));
  EXPECT_EQ("connected 100 4, 10.64.0.2", listener.Next());
  TakeDown(0, kIpv4);

  // What is no veth is somebody's.
  if (!Shell("ip link add rmnet_data0 type bridge 2>/dev/null || ip link add rmnet_data0 type dummy 2>/dev/null")) {
    GTEST_SKIP() << "the kernel has neither bridge nor dummy interfaces";
  }
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv4));
  EXPECT_EQ("connected 100 4, none", listener.Next());
  EXPECT_EQ("10.64.1.2", Addresses("rmnet_data1"));
  EXPECT_EQ("success 10.64.1.2 10.255.0.53 -", Config(0, kIpv4));
}

// Whatever stands in the way: calls go on, and one line says so.
TEST_F(LinksTest, WithoutMeansThereAreEventsOnly) {
  SyslogReader log;
  const std::string path = getenv("PATH");
  setenv("PATH", "/nowhere", 1);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv4));
    EXPECT_EQ("connected 100 4, absent", listener.Next());
    TakeDown(0, kIpv4);
  }
  setenv("PATH", path.c_str(), 1);
  auto lines = log.TakeWith("events only");
  ASSERT_EQ(1u, lines.size());
  EXPECT_EQ("4 ", lines[0].substr(0, 2));
  EXPECT_NE(std::string::npos, lines[0].find("ip: No such file or directory")) << lines[0];

  // What was missing may come.
  BringUp(0, kIpv4);
  EXPECT_EQ("10.64.0.2", Addresses("rmnet_data0"));
}

// In a process of its own the modem's thread, and with it `ip`, has what this one has: no CAP_NET_ADMIN.
TEST(LinksWithoutRightsTest, ThereAreEventsOnly) {
  ASSERT_TRUE(GiveUpNetAdmin());
  SyslogReader log;
  QcmapWrapper* const qcmap = QcmapWrapper::GetInstance();
  Listener listener(qcmap);
  for (const IPFamily family : {kIpv4, kIpv6}) EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, family));
  EXPECT_EQ("connected 100 4", listener.Next());
  EXPECT_EQ("connected 100 6", listener.Next());
  EXPECT_EQ("absent", Addresses("rmnet_data0"));
  const auto lines = log.TakeWith("events only");
  ASSERT_EQ(1u, lines.size());
  EXPECT_NE(std::string::npos, lines[0].find("Operation not permitted")) << lines[0];
}

}  // namespace kor::test
