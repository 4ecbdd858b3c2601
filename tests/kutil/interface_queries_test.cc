// SPDX-License-Identifier: Apache-2.0
#include "common/util/network_manager.h"
#include "kutil/probes.h"
#include "support/files.h"

namespace kor::util {
namespace {

using test::Ip;

// Asked of a real interface in the sandbox.
class InterfaceQueriesTest : public test::LinkTest {
 protected:
  // "-" for none.
  static std::string Address(bool ipv6 = false) {
    std::string text = "-";
    NetworkManager::GetIpAddress("rmnet_data0", text, ipv6);
    return text;
  }
  static std::string Mask() {
    std::string text = "-";
    NetworkManager::GetSubnetMask("rmnet_data0", text);
    return text;
  }
  // All its IPv4 addresses as `ip` lists them: "inet 10.64.0.2/30", and with `whole` what else goes with them.
  static std::string Listed(bool whole = false) {
    const std::string part = whole ? "inet .*rmnet_data0[^ \\\\]*" : "inet [^ ]*";
    Ip("-4 -o address show dev rmnet_data0 | grep -o '" + part + "' > /tmp/listed");
    return test::ReadFile("/tmp/listed");
  }
  static bool SetAddress(const std::string& text) { return NetworkManager::SetIpAddress("rmnet_data0", text); }
  static bool SetMask(const std::string& text) { return NetworkManager::SetSubnetMask("rmnet_data0", text); }
};

TEST_F(InterfaceQueriesTest, NamesAndStateAreTheKernels) {
  // The far end of a pair is made first. Names keep their order when another interface comes between.
  EXPECT_EQ((std::vector<std::string>{"lo", "carrier0", "rmnet_data0"}), NetworkManager::GetIfNames());
  Ip("link add a0 type veth peer name z0");
  EXPECT_EQ((std::vector<std::string>{"lo", "carrier0", "rmnet_data0", "z0", "a0"}), NetworkManager::GetIfNames());
  Ip("link del a0");

  EXPECT_FALSE(NetworkManager::IsUpState("rmnet_data0"));
  Ip("link set rmnet_data0 up");  // Without a carrier: its far end is down.
  EXPECT_TRUE(NetworkManager::IsUpState("rmnet_data0"));
  EXPECT_FALSE(NetworkManager::IsUpState("carrier0"));

  // Names that no interface can have. A long one that is cut short must not be another's.
  Ip("link add a23456789012345 type veth peer name z0");
  Ip("link set a23456789012345 up");
  EXPECT_TRUE(NetworkManager::IsUpState("a23456789012345"));
  for (const std::string& name : {std::string(), std::string("rmnet_data9"), std::string("a234567890123456"),
                                  std::string("rmnet_data0\0x", 13), std::string(5000, 'x')}) {
    std::string text = "untouched";
    EXPECT_FALSE(NetworkManager::IsUpState(name) || NetworkManager::GetSubnetMask(name, text));
    EXPECT_FALSE(NetworkManager::GetIpAddress(name, text, false) || NetworkManager::GetIpAddress(name, text, true));
    EXPECT_FALSE(NetworkManager::SetIpAddress(name, "10.1.1.1") || NetworkManager::SetSubnetMask(name, "255.0.0.0"));
    EXPECT_EQ("untouched", text);
  }
}

TEST_F(InterfaceQueriesTest, Ipv4AddressAndMaskAreReadAndChangedOneByOne) {
  EXPECT_EQ("-", Address());
  EXPECT_EQ("-", Mask());
  EXPECT_FALSE(SetMask("255.255.255.0"));  // Of what address?

  Ip("address add 10.64.0.2/30 dev rmnet_data0");
  Ip("address add 10.99.0.2/24 dev rmnet_data0");
  Ip("link set rmnet_data0 up");
  EXPECT_EQ("10.64.0.2", Address());
  EXPECT_EQ("255.255.255.252", Mask());

  // A new address keeps the mask, a new mask the address, and each is the only one then: in another subnet, in the old
  // one's, and when it is the same already. The default route never goes.
  Ip("route add default via 10.64.0.1 dev rmnet_data0 metric 10000");
  for (const char* address : {"10.65.0.2", "10.65.0.1", "10.65.0.1"}) {
    EXPECT_TRUE(SetAddress(address));
    EXPECT_EQ(std::string("inet ") + address + "/30\n", Listed());
  }
  for (const char* mask : {"255.255.254.0", "128.0.0.0", "255.255.255.255", "255.255.255.255", "255.255.255.252"}) {
    EXPECT_TRUE(SetMask(mask));
    EXPECT_EQ(mask, Mask());
  }
  Ip("route | grep -q '^default via 10.64.0.1 dev rmnet_data0'");

  // What is no address of a host, and no netmask, changes nothing.
  for (const char* bad : {"", "10.65.0", "10.65.0.300", "fd64::2", "0.0.0.0", "0.1.2.3", "127.0.0.1", "224.0.0.1",
                          "255.255.255.255", "10.65.0.2/24"}) {
    EXPECT_FALSE(SetAddress(bad)) << bad;
  }
  for (const char* bad : {"", "24", "/24", "0.0.0.0", "255.0.255.0", "0.0.0.255", "255.255.255.1", "ffff::"}) {
    EXPECT_FALSE(SetMask(bad)) << bad;
  }
  EXPECT_EQ("inet 10.65.0.1/30\n", Listed());

  // An interface without one gets it as a single host.
  Ip("address flush dev rmnet_data0");
  EXPECT_TRUE(SetAddress("192.0.2.7"));
  EXPECT_EQ("inet 192.0.2.7/32\n", Listed());
}

// Regression: an address with a far end's stayed beside the new one, one with a label of its own was not seen, and the
// broadcast address was lost.
TEST_F(InterfaceQueriesTest, WhatGoesWithAnAddressStaysWithTheNextOne) {
  const struct {
    const char* given;
    const char* with_address;  // After 10.64.0.6,
    const char* with_mask;     // and then after 255.255.255.0.
  } cases[] = {
      {"10.64.0.2 peer 10.64.0.1/32", "inet 10.64.0.6 peer 10.64.0.1/32 scope global rmnet_data0\n",
       "inet 10.64.0.6 peer 10.64.0.1/24 scope global rmnet_data0\n"},
      {"10.64.0.2/29 broadcast + label rmnet_data0-wan scope link",
       "inet 10.64.0.6/29 brd 10.64.0.7 scope link rmnet_data0-wan\n",
       "inet 10.64.0.6/24 brd 10.64.0.255 scope link rmnet_data0-wan\n"},
      {"10.64.0.2/31 broadcast 10.64.0.3", "inet 10.64.0.6/31 scope global rmnet_data0\n",
       "inet 10.64.0.6/24 scope global rmnet_data0\n"},
  };
  for (const auto& c : cases) {
    Ip("address flush dev rmnet_data0");
    Ip(std::string("address add dev rmnet_data0 ") + c.given);
    Ip("address add dev rmnet_data0 10.64.0.6/32");  // On its way to the new one, it is there already.
    EXPECT_EQ("10.64.0.2", Address());
    EXPECT_TRUE(SetAddress("10.64.0.6"));
    EXPECT_EQ(c.with_address, Listed(true));
    EXPECT_TRUE(SetMask("255.255.255.0"));
    EXPECT_EQ(c.with_mask, Listed(true));
  }
}

TEST_F(InterfaceQueriesTest, ALinkLocalIpv6AddressCountsWhenThereIsNoOther) {
  EXPECT_EQ("-", Address(true));
  Ip("address add fe80::7/64 dev rmnet_data0 nodad");
  Ip("link set rmnet_data0 up addrgenmode none");
  EXPECT_EQ("fe80::7", Address(true));
  Ip("address add 2001:db8:0::7/64 dev rmnet_data0 nodad");
  EXPECT_EQ("2001:db8::7", Address(true));
  EXPECT_EQ("-", Address(false));
}

}  // namespace
}  // namespace kor::util
