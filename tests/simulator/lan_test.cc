// SPDX-License-Identifier: Apache-2.0
// The wrapper's LAN side.
#include <string>
#include <utility>
#include <vector>

#include "simulator/bench.h"
#include "wwan/mobileap_manager.h"

namespace kor::test {

using kor::wwan::MobileapManager;
using LanInterface = MobileapManager::LanInterface;
using Mode = MobileapManager::IpPassthroughMode;

class LanTest : public BenchTest {
 protected:
  std::string Lan() {
    std::string gw, nm, start, end;
    bool dhcp = false;
    int lease = 0;
    if (!qcmap->GetLanConfig(gw, nm, dhcp, start, end, lease)) return "unknown";
    return gw + " " + nm + " " + (dhcp ? "on " : "off ") + start + " " + end + " " + std::to_string(lease);
  }

  // "VLAN/INTERFACE VLAN>PDN", each VLAN and each mapping.
  std::string Vlans() {
    std::vector<MobileapManager::VlanConfig> vlans(3);
    std::vector<MobileapManager::VlanMapping> mappings(3);
    if (!qcmap->GetVlanConfigs(vlans) || !qcmap->GetPdnToVlanMapping(mappings)) return "unknown";
    std::string text;
    for (const auto& vlan : vlans)
      text += std::to_string(vlan.vlan_id) + "/" + std::to_string(static_cast<int>(vlan.interface)) + " ";
    for (const auto& mapping : mappings) text += std::to_string(mapping.vlan_id) + ">" + std::to_string(mapping.pdn);
    return text;
  }
};

TEST_F(LanTest, ARouterOutOfTheBoxIsConfiguredAndActivated) {
  EXPECT_EQ("192.168.225.1 255.255.255.0 on 192.168.225.20 192.168.225.60 43200", Lan());

  // What is written is answered at once. -1 is a lease for ever.
  EXPECT_TRUE(qcmap->SetLanConfig("10.0.0.1", "255.255.240.0", true, "10.0.0.2", "10.0.3.0", 4294967295));
  EXPECT_EQ("10.0.0.1 255.255.240.0 on 10.0.0.2 10.0.3.0 -1", Lan());

  // What no LAN can have is refused; a gateway that leaves its pool behind is not.
  for (const char* mask : {"0.0.0.0", "255.0.255.0", "24", ""}) {
    EXPECT_FALSE(qcmap->SetLanConfig("10.0.0.1", mask, true, "10.0.0.2", "10.0.0.9", 1)) << mask;
  }
  for (const std::string& gateway :
       {std::string("10.0.0.1\nnameserver 6.6.6.6"), std::string("10.0.0.1\0", 9), std::string("0.0.0.1"),
        std::string("127.0.0.1"), std::string("224.0.0.1"), std::string("10.0.0.0"), std::string("10.0.0.255")}) {
    EXPECT_FALSE(qcmap->SetLanConfig(gateway, "255.255.255.0", true, "10.0.0.2", "10.0.0.9", 1)) << gateway;
  }
  EXPECT_TRUE(qcmap->SetLanConfig("223.0.0.255", "255.255.254.0", true, "10.0.0.2", "10.0.0.9", 1));
  EXPECT_TRUE(qcmap->SetLanConfig("10.0.0.0", "255.255.255.254", true, "10.0.0.2", "10.0.0.9", 1));
  EXPECT_FALSE(qcmap->SetLanConfig("10.0.0.1", "255.255.255.0", true, "10.0.1.0", "10.0.0.255", 1));
  EXPECT_FALSE(qcmap->SetLanConfig("10.0.0.1", "255.255.255.0", true, "10.0.0.2", std::string("10.0.0.9\0x", 10), 1));

  // Without DHCP there need be no pool; half a one is none, and a server needs one.
  EXPECT_FALSE(qcmap->SetLanConfig("10.9.0.1", "255.255.255.0", true, "", "", 1));
  EXPECT_FALSE(qcmap->SetLanConfig("10.9.0.1", "255.255.255.0", false, "", "10.0.0.9", 1));
  EXPECT_TRUE(qcmap->SetLanConfig("10.9.0.1", "255.255.255.0", false, "", "", 1));
  EXPECT_EQ("10.9.0.1 255.255.255.0 off   1", Lan());
  EXPECT_TRUE(qcmap->SetLanConfig("10.9.0.1", "255.255.255.255", false, "10.0.0.9", "10.0.0.9", 1));
}

TEST_F(LanTest, VlansAreMappedToPdnsAndPassthroughIsKept) {
  EXPECT_EQ("", Vlans());
  MobileapManager::VlanConfig vlan{LanInterface::kUsb, 20, 1};
  EXPECT_FALSE(qcmap->SetPdnToVlanMapping(vlan));
  EXPECT_TRUE(qcmap->SetVlanConfig(vlan));
  EXPECT_FALSE(qcmap->SetPdnToVlanMapping(vlan));  // There is no second policy yet.
  EXPECT_TRUE(qcmap->CreateWwanPolicy(kor::wwan::Tech::kAny, kBoth, 2, 2) && qcmap->SetPdnToVlanMapping(vlan));
  EXPECT_EQ("20/1 20>1", Vlans());

  // A VLAN that changes keeps its mapping; the default PDN and bad numbers are refused.
  vlan = {LanInterface::kWlan, 20, 0};
  EXPECT_TRUE(qcmap->SetVlanConfig(vlan));
  EXPECT_FALSE(qcmap->SetPdnToVlanMapping(vlan));
  for (const int32_t id : {-1, 0, 4095}) {
    MobileapManager::VlanConfig bad{LanInterface::kEthernet, id, -1};
    EXPECT_FALSE(qcmap->SetVlanConfig(bad)) << id;
  }
  EXPECT_EQ("20/2 20>1", Vlans());

  // A mapping ends by itself or with its VLAN.
  EXPECT_TRUE(qcmap->DeletePdnToVlanMapping(vlan));
  EXPECT_FALSE(qcmap->DeletePdnToVlanMapping(vlan));
  vlan.pdn = 1;
  EXPECT_TRUE(qcmap->SetPdnToVlanMapping(vlan) && qcmap->DeleteVlanConfig(vlan));
  EXPECT_FALSE(qcmap->DeleteVlanConfig(vlan));
  EXPECT_EQ("", Vlans());
}

TEST_F(LanTest, AVlanFollowsItsPdnAndKeepsIt) {
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(qcmap->CreateWwanPolicy(kor::wwan::Tech::kAny, kBoth, 2, 2));
  MobileapManager::VlanConfig guests{LanInterface::kEthernet, 20, 3};
  ASSERT_TRUE(qcmap->SetVlanConfig(guests) && qcmap->SetPdnToVlanMapping(guests));
  EXPECT_TRUE(qcmap->DeleteWwanPolicy(1));
  EXPECT_EQ("20/0 20>2", Vlans());
  EXPECT_FALSE(qcmap->DeleteWwanPolicy(2));
  EXPECT_TRUE(qcmap->DeleteWwanPolicy(1));
  EXPECT_EQ("20/0 20>1", Vlans());
  EXPECT_TRUE(qcmap->DeletePdnToVlanMapping(guests) && qcmap->DeleteWwanPolicy(1));
  EXPECT_EQ("20/0 ", Vlans());
}

TEST_F(LanTest, PassthroughHasATargetAndKeepsIt) {
  // The settings outlive its being off, which needs none; a target must be one of the mode.
  MobileapManager::IpPassthroughConfig config{Mode::kMacAddress, "02:00:5E:10:00:01"};
  EXPECT_TRUE(qcmap->SetIpPassthrough(true, config));
  const std::pair<Mode, const char*> kBad[] = {{Mode::kFirstClient, "x"},
                                               {Mode::kMacAddress, "02-00-5E-10-00-01"},
                                               {Mode::kMacAddress, "03:00:5E:10:00:01"},
                                               {Mode::kMacAddress, "00:00:00:00:00:00"},
                                               {Mode::kHostName, "a b"},
                                               {Mode{3}, ""}};
  for (const auto& [mode, target] : kBad) {
    config = {mode, target};
    EXPECT_FALSE(qcmap->SetIpPassthrough(true, config)) << target;
  }
  config = {Mode::kMacAddress, "x"};
  EXPECT_FALSE(qcmap->SetIpPassthrough(false, config));
  for (const Mode mode : {Mode::kMacAddress, Mode::kFirstClient}) {
    config = {mode, ""};
    EXPECT_TRUE(qcmap->SetIpPassthrough(false, config));
    bool enabled = true;
    EXPECT_TRUE(qcmap->GetIpPassthrough(enabled, config) && !enabled);
    EXPECT_TRUE(config.mode == Mode::kMacAddress && config.target == "02:00:5E:10:00:01");
  }
}

}  // namespace kor::test
