// SPDX-License-Identifier: Apache-2.0
// The life of a call as the vendor's client sees it.
#include <thread>

#include "modem/bench.h"

namespace kor::test {

class CallsTest : public BenchTest {};

TEST_F(CallsTest, ACallComesUpAndGoesDown) {
  EXPECT_EQ("disconnected disconnected", States(0));
  EXPECT_EQ("failure", Config(0, kIpv4));

  // Events come from the modem's thread, which shows them the state that belongs to them.
  const auto caller = std::this_thread::get_id();
  listener.Observe([this, caller] {
    return (std::this_thread::get_id() == caller ? "inside, " : "outside, ") + States(0) + ", " + Config(0, kIpv4);
  });
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv4));
  EXPECT_EQ("connecting disconnected", States(0));
  EXPECT_EQ("connected 100 4, outside, connected disconnected, success 10.64.0.2 10.255.0.53 -", listener.Next());

  // The IPv6 call is another one; it shares the link's number.
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv6));
  EXPECT_EQ("connected 100 6, outside, connected connected, success 10.64.0.2 10.255.0.53 -", listener.Next());
  EXPECT_EQ("success fd64:0::2 fd64:ffff::53 -", Config(0, kIpv6));

  EXPECT_EQ(kSuccess, qcmap->DisconnectBackhaul(0, kIpv4));
  EXPECT_EQ("disconnecting connected", States(0));
  EXPECT_EQ("disconnected 100 4, outside, disconnected connected, failure", listener.Next());
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
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(kSuccess, qcmap->DisconnectBackhaul(0, kIpv6));
    EXPECT_EQ("disconnected 100 6", listener.Next());
  }

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
    EXPECT_EQ(kSuccess, qcmap->DisconnectBackhaul(0, kIpv4));
    EXPECT_EQ("connect-failed 100 4", listener.Next());
    EXPECT_EQ("disconnected 100 4", listener.Next());
    EXPECT_EQ("disconnected disconnected", States(0));
  }
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

}  // namespace kor::test
