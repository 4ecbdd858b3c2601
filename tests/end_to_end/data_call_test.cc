// SPDX-License-Identifier: Apache-2.0
// The library as a host sees it: real dnsmasq, inotify and netlink, real interfaces, the simulated modem.
#include <gtest/gtest.h>
#include <net/if.h>

#include <vector>

#include "simulator/sim_modem.h"
#include "support/dns_files.h"
#include "support/files.h"
#include "support/wait.h"
#include "wwan/data_manager.h"
#include "wwan/dns_ctrl_manager.h"

namespace kor::test {
namespace {

using kor::modem::SimModem;
using kor::util::IPFamily;
using kor::wwan::DataManager;
using kor::wwan::DnsCtrlManager;
using Status = DataManager::ConnectStatus;

constexpr auto kOk = kor::Result::kSuccess;

std::string Servers() { return ReadFile(kServerList); }

class DataCallTest : public testing::Test {
 protected:
  DataCallTest() { EXPECT_TRUE(dns_.StartService()); }

  Status StatusOf(uint32_t index, IPFamily family) {
    Status ipv4{};
    Status ipv6{};
    EXPECT_TRUE(data_.GetConnectStatus(index, ipv4, ipv6));
    return family == IPFamily::kIpv4 ? ipv4 : ipv6;
  }

  SimModem& modem_ = SimModem::Get();
  DnsCtrlManager dns_;
  DataManager data_;
};

TEST_F(DataCallTest, ComesUpWithItsServersAndTakesThemAlong) {
  modem_.SetNotReadyQueries(1);
  modem_.SetDnsServers(IPFamily::kIpv4, "10.255.0.53", "10.255.0.54");
  ASSERT_EQ(kOk, data_.Connect(0, IPFamily::kIpv4, true));
  EXPECT_NE(0u, if_nametoindex("rmnet_data0"));
  EXPECT_EQ("nameserver 10.255.0.53\nnameserver 10.255.0.54\n", Servers());
  ASSERT_EQ(kOk, data_.Connect(0, IPFamily::kIpv6, true));
  // A late refresh for the first call may have been its confirmation: its own follows.
  EXPECT_TRUE(Eventually(
      [] { return Servers() == "nameserver 10.255.0.53\nnameserver 10.255.0.54\nnameserver fd64:ffff::53\n"; }));

  // Up already: nothing is sent.
  modem_.SetRecording(true);
  EXPECT_EQ(kOk, data_.Connect(0, IPFamily::kIpv4, true));
  EXPECT_EQ(std::vector<std::string>{}, modem_.TakeRecord());

  // A call that goes down, for whatever reason, leaves the file.
  ASSERT_TRUE(modem_.Drop(100, IPFamily::kIpv4));
  EXPECT_TRUE(Eventually([] { return Servers() == "nameserver fd64:ffff::53\n"; }));
  EXPECT_TRUE(Eventually([&] { return StatusOf(0, IPFamily::kIpv4) == Status::kDisconnected; }));
  EXPECT_EQ(kOk, data_.Disconnect(0, IPFamily::kIpv6, true));
  EXPECT_TRUE(Eventually([] { return Servers().empty(); }));
  EXPECT_EQ(0u, if_nametoindex("rmnet_data0"));
  EXPECT_EQ(kOk, data_.Disconnect(0, IPFamily::kIpv6, true));  // Down already.
}

TEST_F(DataCallTest, WhatIsNoAddressStaysOutOfTheFile) {
  for (const std::string& text : {std::string("9.9.9.9\nnameserver 6.6.6.6"), std::string("nameserver 6.6.6.6"),
                                  std::string("9.9.9.9\0", 8), std::string("9.9.9.9 #"), std::string(10'000, '9')}) {
    modem_.SetDnsServers(IPFamily::kIpv4, text, "10.255.0.53");
    ASSERT_EQ(kOk, data_.Connect(0, IPFamily::kIpv4, true));
    EXPECT_EQ("nameserver 10.255.0.53\n", Servers()) << text;
    ASSERT_EQ(kOk, data_.Disconnect(0, IPFamily::kIpv4, true));
  }
}

TEST_F(DataCallTest, ConnectWithCidBringsUpWhatTheProfileNeeds) {
  ASSERT_EQ(kOk, data_.ConnectWithCid(3, IPFamily::kIpv4, true));  // The idle policy is given the profile.
  ASSERT_EQ(kOk, data_.ConnectWithCid(2, IPFamily::kIpv6, true));  // None is idle: a PDN is made.
  std::vector<DataManager::WwanStatus> statuses;
  ASSERT_TRUE(data_.GetWwanStatuses(statuses));
  ASSERT_EQ(2u, statuses.size());
  EXPECT_EQ(3, statuses[0].policy.profile_1);
  EXPECT_EQ(Status::kConnected, statuses[0].ipv4_status);
  EXPECT_EQ(Status::kConnected, statuses[1].ipv6_status);
  EXPECT_EQ(kOk, data_.ConnectWithCid(2, IPFamily::kIpv6, true));  // Up already.
  ASSERT_TRUE(data_.GetWwanStatuses(statuses));
  EXPECT_EQ(2u, statuses.size());

  // The same profile for the other family, while the first is up and when it is down.
  ASSERT_EQ(kOk, data_.ConnectWithCid(2, IPFamily::kIpv4, true));
  ASSERT_EQ(kOk, data_.Disconnect(1, IPFamily::kIpv6, true));
  ASSERT_EQ(kOk, data_.Disconnect(2, IPFamily::kIpv4, true));
  EXPECT_EQ(kOk, data_.ConnectWithCid(2, IPFamily::kIpv4, true));
  EXPECT_EQ(kOk, data_.ConnectWithCid(2, IPFamily::kIpv6, true));
}

}  // namespace
}  // namespace kor::test
