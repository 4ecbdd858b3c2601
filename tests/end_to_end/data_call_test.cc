// SPDX-License-Identifier: Apache-2.0
// The library as a host sees it: real dnsmasq, inotify and netlink, real interfaces, the simulated modem.
#include <gtest/gtest.h>
#include <net/if.h>

#include "simulator/sim_modem.h"
#include "support/dns_files.h"
#include "support/files.h"
#include "support/wait.h"
#include "wwan/data_manager.h"
#include "wwan/dns_ctrl_manager.h"

namespace kor::test {

using kor::util::IPFamily;

TEST(DataCallTest, WhatIsNoAddressStaysOutOfTheFile) {
  auto& modem = kor::modem::SimModem::Get();
  modem.SetNotReadyQueries(1);
  kor::wwan::DnsCtrlManager dns;
  kor::wwan::DataManager data;
  ASSERT_TRUE(dns.StartService());
  for (const std::string& text : {std::string("9.9.9.9\nnameserver 6.6.6.6"), std::string("nameserver 6.6.6.6"),
                                  std::string("9.9.9.9\0", 8), std::string("9.9.9.9 #"), std::string(10'000, '9')}) {
    modem.SetDnsServers(IPFamily::kIpv4, text, "10.255.0.53");
    ASSERT_EQ(kor::Result::kSuccess, data.Connect(0, IPFamily::kIpv4, true));
    EXPECT_EQ("nameserver 10.255.0.53\n", ReadFile(kServerList)) << text;
    EXPECT_NE(0u, if_nametoindex("rmnet_data0"));
    ASSERT_EQ(kor::Result::kSuccess, data.Disconnect(0, IPFamily::kIpv4, true));
  }
  EXPECT_TRUE(Eventually([] { return ReadFile(kServerList).empty() && if_nametoindex("rmnet_data0") == 0; }));
}

}  // namespace kor::test
