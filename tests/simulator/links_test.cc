// SPDX-License-Identifier: Apache-2.0
// The interfaces of the calls, on a real network stack.
#include <arpa/inet.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <string>

#include "common/util/network_manager.h"
#include "simulator/bench.h"
#include "support/files.h"
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

// "reached" when the address refuses the connection, as nobody listens there: there and back.
std::string Try(const std::string& address) {
  sockaddr_in6 to{};
  to.sin6_family = AF_INET6;
  to.sin6_port = htons(7777);
  inet_pton(AF_INET6, (address.find(':') == std::string::npos ? "::ffff:" + address : address).c_str(), &to.sin6_addr);
  const int fd = socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const timeval limit{5, 0};
  setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
  const int error = connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof(to)) == 0 ? 0 : errno;
  close(fd);
  return error == ECONNREFUSED ? "reached" : error == ENETUNREACH ? "unreachable" : "silence";
}

}  // namespace

TEST_F(LinksTest, BothCallsOfAPolicyShareOneInterface) {
  // The interface is there when the event comes, with the address of the family.
  EXPECT_EQ("connected 100 6, fd64::2", Connect(0, kIpv6));
  EXPECT_EQ("fd64::1", Addresses("carrier0"));
  EXPECT_EQ("connected 100 4, 10.64.0.2 fd64::2", Connect(0, kIpv4));

  // The second policy has one of its own.
  ASSERT_TRUE(qcmap->CreateWwanPolicy(kor::wwan::Tech::kAny, kBoth, 2, 2));
  BringUp(1, kIpv4);
  EXPECT_EQ("10.64.1.2", Addresses("rmnet_data1"));

  // Each family takes its address along, the last one the interface: gone when the event comes.
  EXPECT_EQ("disconnected 100 6, 10.64.0.2", Disconnect(0, kIpv6));
  EXPECT_TRUE(modem.Drop(100, kIpv4));
  EXPECT_EQ("disconnected 100 4, absent", listener.Next());
  EXPECT_EQ("10.64.1.2", Addresses("rmnet_data1"));

  // The lowest free number is used again, whoever comes.
  ASSERT_TRUE(qcmap->CreateWwanPolicy(kor::wwan::Tech::kAny, kBoth, 3, 3));
  EXPECT_EQ("connected 102 4, 10.64.0.2", Connect(2, kIpv4));

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
  Shell(
      "ip netns add carrier && nsenter --net=/run/netns/carrier sh -c 'ip link set lo up &&"
      " ip address add 10.255.0.53/32 dev lo && ip address add fd64:ffff::53/128 dev lo nodad'");
  EXPECT_FALSE(modem.SetCarrierNamespace("carrier"));
  EXPECT_TRUE(modem.SetCarrierNamespace("/run/netns/carrier"));
  EXPECT_EQ("unreachable", Try("10.255.0.53"));
  BringUp(0, kIpv4);
  BringUp(0, kIpv6);
  EXPECT_EQ("absent", Addresses("carrier0"));
  for (const char* address : {"10.64.0.1", "10.255.0.53", "fd64:0::1", "fd64:ffff::53"}) {
    EXPECT_EQ("reached", Try(address)) << address;
  }

  // One family less, and it is out of reach; the other goes on.
  TakeDown(0, kIpv4);
  EXPECT_EQ("unreachable", Try("10.255.0.53"));
  EXPECT_EQ("reached", Try("fd64:ffff::53"));

  // Without nsenter the far end cannot be set up: nothing half made stays, and the call goes on without.
  TakeDown(0, kIpv6);
  Shell("mkdir /tmp/bin && ln -s $(command -v ip) /tmp/bin/ip");
  setenv("PATH", "/tmp/bin", 1);
  EXPECT_EQ("connected 100 4, absent", Connect(0, kIpv4));
}

TEST_F(LinksTest, LeftoversAreReplacedAndForeignInterfacesAreLeftAlone) {
  Shell("ip link add rmnet_data0 type veth peer name carrier0 && ip address add 10.1.1.1/24 dev rmnet_data0");
  EXPECT_EQ("connected 100 4, 10.64.0.2", Connect(0, kIpv4));
  TakeDown(0, kIpv4);

  // What is no veth is somebody's.
  Shell("ip link add rmnet_data0 type bridge");
  EXPECT_EQ("connected 100 4, none", Connect(0, kIpv4));
  EXPECT_EQ("10.64.1.2", Addresses("rmnet_data1"));
  EXPECT_EQ("success 10.64.1.2 10.255.0.53 -", Config(0, kIpv4));
}

// Without rights, as without programs, calls go on, and one line says so.
TEST_F(LinksTest, WithoutMeansThereAreEventsOnly) {
  SyslogReader log;
  const std::string path = getenv("PATH");
  Shell("mkdir /tmp/bin && printf '#!/bin/sh\necho Operation not permitted >&2\nexit 2' > /tmp/bin/ip");
  Shell("chmod +x /tmp/bin/ip");
  setenv("PATH", "/tmp/bin", 1);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ("connected 100 4, absent", Connect(0, kIpv4));
    TakeDown(0, kIpv4);
  }
  setenv("PATH", path.c_str(), 1);
  const auto lines = log.TakeWith("events only");
  ASSERT_EQ(1u, lines.size());
  EXPECT_EQ("4 ", lines[0].substr(0, 2));
  EXPECT_NE(std::string::npos, lines[0].find("Operation not permitted")) << lines[0];

  // What was missing may come.
  BringUp(0, kIpv4);
  EXPECT_EQ("10.64.0.2", Addresses("rmnet_data0"));
}

}  // namespace kor::test
