// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <climits>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

#include "common/addresses.h"
#include "common/util/fd_monitor.h"
#include "common/util/misc.h"
#include "common/util/network_manager.h"

namespace kor::util {
namespace {

using namespace std::string_literals;

// A monitor without a thread to watch on, or two owners of one subscription, are not to be made.
static_assert(!std::is_default_constructible_v<FdMonitor> && !std::is_copy_constructible_v<FdMonitor>);
static_assert(!std::is_copy_constructible_v<NetworkManager> && !std::is_copy_assignable_v<NetworkManager>);

TEST(MiscTest, AWholeTextIsANumberOrAnError) {
  const std::pair<const char*, int> numbers[] = {{"0", 0}, {"-5", -5}, {"007", 7}, {"2147483647", INT_MAX}};
  for (const auto& [text, value] : numbers) {
    bool error = true;  // Is set both ways.
    EXPECT_EQ(value, Misc::StoiWithException(text, error)) << text;
    EXPECT_FALSE(error) << text;
  }
  for (const auto& text : {"2147483648"s, "-2147483649"s, "99999999999999999999"s, ""s, "-"s, "+5"s, " 5"s, "5 "s,
                           "5x"s, "0x10"s, "5\0"s}) {
    bool error = false;
    EXPECT_EQ(0, Misc::StoiWithException(text, error)) << text;
    EXPECT_TRUE(error) << text;
  }
}

TEST(AddressRulesTest, OnlyAWholeTextIsAnAddress) {
  for (const auto& good : {"0.0.0.0"s, "192.168.1.1"s, "255.255.255.255"s}) {
    EXPECT_TRUE(NetworkManager::IsValidAddress(good, false)) << good;
    EXPECT_EQ(good, FormatIpv4(ParseIpv4(good).value()));
  }
  for (const auto& bad : {""s, "1.2.3"s, "1.2.3.4.5"s, "1.2.3.256"s, "1.2.3.04"s, "1.2.3.-4"s, " 1.2.3.4"s, "1.2.3.4 "s,
                          "1.2.3.4\n"s, "1.2.3.4\0"s, "1.2.3.4/24"s, "0x1.2.3.4"s, "fd64::1"s}) {
    EXPECT_FALSE(NetworkManager::IsValidAddress(bad, false)) << bad;
  }
  for (const auto& good : {"::"s, "fd64::1"s, "2001:DB8:0:0:0:0:0:1"s, "::ffff:1.2.3.4"s}) {
    EXPECT_TRUE(NetworkManager::IsValidAddress(good, true)) << good;
  }
  for (const auto& bad : {""s, "1.2.3.4"s, "fd64::1%rmnet_data0"s, "fd64::1/64"s, "fd64::1::2"s, "fd64::1\0"s}) {
    EXPECT_FALSE(NetworkManager::IsValidAddress(bad, true)) << bad;
  }
}

TEST(AddressRulesTest, APoolLiesInTheSubnetClearOfItsSpecialAddresses) {
  const auto accepted = [](const std::string& pool) {  // "gateway netmask start end"
    std::istringstream words(pool);
    std::string gw, nm, start, end;
    words >> gw >> nm >> start >> end;
    return NetworkManager::CheckIpv4DhcpRangeValidation(gw, nm, start, end);
  };
  for (const char* good :
       {"10.0.1.1   255.255.255.0   10.0.1.2  10.0.1.254", "10.0.1.254 255.255.255.0   10.0.1.1  10.0.1.253",
        "10.0.1.1   255.255.255.0   10.0.1.20 10.0.1.20", "10.0.1.1   255.255.255.252 10.0.1.2  10.0.1.2",
        "10.0.0.1   255.0.0.0       10.0.9.0  10.1.0.255", "192.0.2.1  128.0.0.0       192.0.2.2 255.255.255.254"}) {
    EXPECT_TRUE(accepted(good)) << good;
  }
  // Upside down; with the subnet's own address or its broadcast; with the gateway inside, first or last; starting,
  // ending or lying outside; no netmask or one without room; no addresses.
  for (const char* bad : {"10.0.1.1 255.255.255.0 10.0.1.3 10.0.1.2", "10.0.1.1 255.255.255.0 10.0.1.0 10.0.1.0",
                          "10.0.1.1 255.255.255.0 10.0.1.2 10.0.1.255", "10.0.1.9 255.255.255.0 10.0.1.2 10.0.1.20",
                          "10.0.1.2 255.255.255.0 10.0.1.2 10.0.1.20", "10.0.1.20 255.255.255.0 10.0.1.2 10.0.1.20",
                          "10.0.1.1 255.255.255.0 10.0.0.2 10.0.1.20", "10.0.1.1 255.255.255.0 10.0.1.2 10.0.2.20",
                          "10.0.1.1 255.255.255.0 10.0.2.2 10.0.2.20", "10.0.1.1 255.0.255.0 10.0.1.2 10.0.1.20",
                          "10.0.1.1 0.0.0.255 10.0.1.2 10.0.1.20", "10.0.1.1 0.0.0.0 10.0.1.2 10.0.1.20",
                          "10.0.1.2 255.255.255.254 10.0.1.3 10.0.1.3", "10.0.1.1 255.255.255.255 10.0.1.1 10.0.1.1",
                          "ten 255.255.255.0 10.0.1.2 10.0.1.20", "10.0.1.1 /24 10.0.1.2 10.0.1.20",
                          "10.0.1.1 255.255.255.0 two 10.0.1.20", "10.0.1.1 255.255.255.0 10.0.1.2"}) {
    EXPECT_FALSE(accepted(bad)) << bad;
  }
}

}  // namespace
}  // namespace kor::util
