// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "kutil/probes.h"
#include "support/scripted_vendor.h"
#include "support/syslog_reader.h"

namespace kor::test {
namespace {

using Status = DataManager::ConnectStatus;
using States = std::pair<Status, Status>;

constexpr auto kIpv4 = IPFamily::kIpv4;
constexpr auto kIpv6 = IPFamily::kIpv6;
constexpr auto kUp = Status::kConnected;
constexpr auto kDown = Status::kDisconnected;
constexpr auto kRising = Status::kConnecting;

// Profile 1 is carried for IPv4 by the first two policies, for IPv6 by the third.
class QueriesTest : public testing::Test {
 protected:
  QueriesTest() {
    Vendor::Set([](Answers& a) { a.policies = {Policy(1, 2, 100), Policy(1, 9, 101), Policy(3, 1, 102)}; });
  }

  static void SetAddress(uint32_t index, IPFamily family, const std::string& address) {
    Vendor::Set([&](Answers& a) { a.configs[{index, family}].address = address; });
  }

  // The address, or "-" when the result is kFailure.
  std::string AddressOf(int cid, IPFamily family) {
    DataManager::NetworkConfig config;
    (void)Vendor::Take();
    return data_.GetNetworkConfigWithCid(cid, family, config) == kor::Result::kSuccess ? config.address : "-";
  }

  // The interface's name, or "-".
  std::string InterfaceOf(int cid) {
    std::string name = "-";
    const bool found = data_.GetIfaceNameWithCid(cid, name);
    EXPECT_EQ(found, name != "-");
    return name;
  }

  DataManager data_;
};

// With interfaces of the sandbox.
class InterfacesTest : public QueriesTest {
 protected:
  InterfacesTest() {
    for (const char* name : {"eth7", "rmnet_data0", "my_rmnet_data1"}) {
      Ip(std::string("link add ") + name + " type veth peer name far_" + name[0]);
      Ip(std::string("link set ") + name + " addrgenmode none");
    }
  }
  ~InterfacesTest() override {
    for (const char* far : {"far_e", "far_r", "far_m"}) Ip(std::string("link del ") + far);
  }
};

TEST_F(QueriesTest, AProfilesStateIsTheFirstConnectedOrTheLast) {
  const auto states_of = [&](int cid) {
    States states{Status::kNone, Status::kNone};
    return data_.GetWwanStatusWithCid(cid, states.first, states.second) ? states : States{};
  };
  Vendor::Set([](Answers& a) { a.states = {{0, {kRising, kUp}}, {1, {kUp, kUp}}, {2, {kUp, kRising}}}; });
  EXPECT_EQ((States{kUp, kRising}), states_of(1));
  EXPECT_EQ((States{kDown, kUp}), states_of(2));
  EXPECT_EQ((States{kDown, kDown}), states_of(77));
  Vendor::Set([](Answers& a) { a.states = {{0, {kUp, kUp}}, {1, {kRising, kUp}}}; });
  EXPECT_EQ((States{kUp, kDown}), states_of(1));
  Vendor::Set([](Answers& a) { a.states = {{0, {kDown, kUp}}, {1, {kRising, kUp}}}; });
  EXPECT_EQ((States{kRising, kDown}), states_of(1));

  // No answer: nothing is said.
  Vendor::Set([](Answers& a) { a.ok = false; });
  States states{kRising, kUp};
  EXPECT_FALSE(data_.GetWwanStatusWithCid(1, states.first, states.second));
  EXPECT_EQ((States{kRising, kUp}), states);
}

TEST_F(QueriesTest, AProfilesConfigurationIsTheFirstWithAnAddress) {
  // For IPv4 either place counts; a failure and an empty address are passed over.
  SetAddress(1, kIpv4, "");
  SetAddress(2, kIpv4, "10.64.0.2");
  EXPECT_EQ("10.64.0.2", AddressOf(1, kIpv4));
  EXPECT_EQ((Calls{"GetWwanPolicies", "GetNetworkConfig 0 1", "GetNetworkConfig 1 1", "GetNetworkConfig 2 1"}),
            Vendor::Take());
  // For IPv6 only the second does.
  for (const uint32_t index : {0u, 1u, 2u}) SetAddress(index, kIpv6, "fd64::" + std::to_string(index));
  EXPECT_EQ("fd64::1", AddressOf(9, kIpv6));
  EXPECT_EQ((Calls{"GetWwanPolicies", "GetNetworkConfig 1 2"}), Vendor::Take());
  EXPECT_EQ("-", AddressOf(3, kIpv6));

  // An address that comes with a refusal is none.
  Vendor::Set([](Answers& a) { a.request = kor::Result::kNotReady; });
  EXPECT_EQ("-", AddressOf(9, kIpv6));

  // No configuration is asked for where there can be none.
  EXPECT_EQ("-", AddressOf(1, IPFamily::kBoth));
  EXPECT_EQ((Calls{"GetWwanPolicies"}), Vendor::Take());
  Vendor::Set([](Answers& a) { a.lists_ok = false; });
  EXPECT_EQ("-", AddressOf(1, kIpv4));
}

TEST_F(InterfacesTest, TheInterfaceOfAProfileHasItsAddress) {
  Ip("address add 10.64.0.2/30 dev eth7");  // Not a data interface.
  Ip("address add 10.64.0.20/30 dev rmnet_data0");
  Ip("address add 10.64.0.2/30 dev my_rmnet_data1");
  Ip("address add fd64::a:2/64 dev rmnet_data0 nodad");
  SyslogReader log;
  const std::string signature = "bool kor::wwan::DataManager::GetIfaceNameWithCid(int, std::string&) #: ";

  // IPv4 decides when there is an address, text for text; IPv6 is not asked for.
  SetAddress(0, kIpv4, "10.64.0.2");
  SetAddress(2, kIpv6, "fd64::a:2");
  EXPECT_EQ("my_rmnet_data1", InterfaceOf(1));
  EXPECT_EQ((Calls{"7 " + signature + "cid 1\n", "7 " + signature + "cid [1] v4 [10.64.0.2] v6 []\n"}), log.Take());
  EXPECT_EQ((Calls{"GetWwanPolicies", "GetNetworkConfig 0 1"}), Vendor::Take());
  // Whatever came with the address.
  Vendor::Set([](Answers& a) { a.request = kor::Result::kNotReady; });
  EXPECT_EQ("my_rmnet_data1", InterfaceOf(1));
  SetAddress(0, kIpv4, "10.64.0.02");
  EXPECT_EQ("-", InterfaceOf(1));

  // IPv6 alone: the same address in another text.
  Vendor::Set([](Answers& a) { a.configs.clear(); });
  SetAddress(2, kIpv6, "FD64:0000:0:0:0:0:000A:2");
  (void)log.Take();
  EXPECT_EQ("rmnet_data0", InterfaceOf(1));
  EXPECT_EQ((Calls{"7 " + signature + "cid [1] v4 [] v6 [FD64:0000:0:0:0:0:000A:2]\n"}), log.TakeWith("v4"));
  for (const char* other : {"fd64::a:3", "not an address"}) {
    SetAddress(2, kIpv6, other);
    EXPECT_EQ("-", InterfaceOf(1));
  }
  EXPECT_TRUE(log.TakeWith("Cannot").empty());

  EXPECT_EQ("-", InterfaceOf(77));
  EXPECT_EQ((Calls{"3 " + signature + "Cannot find ip address for cid 77\n"}), log.TakeWith("Cannot"));
}

TEST_F(InterfacesTest, RmnetData0IsAskedAndSetOnlyWhileItIsUpButForItsMask) {
  std::string text = "-";
  Ip("address add 10.64.0.2/30 dev rmnet_data0");
  EXPECT_FALSE(data_.GetIpAddress(text));
  EXPECT_FALSE(data_.SetIpAddress("10.64.0.6") || data_.SetSubnetMask("255.255.255.0"));
  EXPECT_TRUE(data_.GetSubnetMask(text));
  EXPECT_EQ("255.255.255.252", text);
  Ip("link set rmnet_data0 up");
  EXPECT_TRUE(data_.GetIpAddress(text));
  EXPECT_EQ("10.64.0.2", text);
  EXPECT_TRUE(data_.SetIpAddress("10.64.0.6") && data_.SetSubnetMask("255.255.255.0"));
  EXPECT_FALSE(data_.SetIpAddress("10.64.0.6x") || data_.SetSubnetMask("255.0.255.0"));
  EXPECT_TRUE(data_.GetIpAddress(text));
  EXPECT_EQ("10.64.0.6", text);
}

TEST_F(QueriesTest, BothSwitchesAreAlwaysAskedFor) {
  bool ipv4 = false;
  bool ipv6 = false;
  for (const char* refused : {"", "GetIpv4State", "GetIpv6State"}) {
    Vendor::Set([&](Answers& a) { a.refused = {refused}; });
    EXPECT_EQ(*refused == '\0', data_.GetIpvEnabled(3, ipv4, ipv6));
    EXPECT_TRUE(ipv4 && ipv6);
    EXPECT_EQ((Calls{"GetIpv4State 3", "GetIpv6State 3"}), Vendor::Take());
  }
  const auto set = [&](bool enable, int family) {
    return data_.SetIpv4Enabled(1, enable, static_cast<IPFamily>(family));
  };
  EXPECT_TRUE(set(true, 3) && set(false, 3));
  Vendor::Set([](Answers& a) { a.refused = {"EnableIpv4", "DisableIpv6"}; });
  EXPECT_FALSE(set(true, 3) || set(false, 3) || set(true, 1) || set(false, 2) || set(true, 0) || set(false, 4));
  EXPECT_TRUE(set(false, 1) && set(true, 2));
  EXPECT_EQ((Calls{"EnableIpv4 1", "EnableIpv6 1", "DisableIpv4 1", "DisableIpv6 1", "EnableIpv4 1", "EnableIpv6 1",
                   "DisableIpv4 1", "DisableIpv6 1", "EnableIpv4 1", "DisableIpv6 1", "DisableIpv4 1", "EnableIpv6 1"}),
            Vendor::Take());
}

}  // namespace
}  // namespace kor::test
