// SPDX-License-Identifier: Apache-2.0
#include "wwan/mobileap_manager.h"

#include <gtest/gtest.h>

#include "support/scripted_vendor.h"
#include "support/syslog_reader.h"

namespace kor::test {
namespace {

using Vlan = MobileapManager::VlanConfig;

constexpr auto kUsb = MobileapManager::LanInterface::kUsb;

class MobileapManagerTest : public testing::Test {
 protected:
  static void Refuse(const std::set<std::string>& operations) {
    Vendor::Set([&](Answers& a) { a.refused = operations; });
  }

  MobileapManager lan_;
};

TEST_F(MobileapManagerTest, TheLanIsWrittenAsAWholeAndEveryWayIsLogged) {
  SyslogReader log;
  MobileapManager::LanConfig config{false, "gw", "", true, "start", "end", -1};
  const std::string write = "SetLanConfig gw  1 start end 4294967295";

  // Values are not looked at, the record's flag neither. Activation: not asked for, made, refused; a refused write.
  EXPECT_TRUE(lan_.SetLanConfig(config, false) && lan_.SetLanConfig(config, true) && lan_.ActivateLan());
  Refuse({"ActivateLan"});
  EXPECT_FALSE(lan_.SetLanConfig(config, true) || lan_.ActivateLan());
  Refuse({"SetLanConfig"});
  EXPECT_FALSE(lan_.SetLanConfig("gw", "", true, "start", "end", 4294967295u, true));
  EXPECT_EQ((Calls{write, write, "ActivateLan", "ActivateLan", write, "ActivateLan", "ActivateLan", write}),
            Vendor::Take());

  const std::string signature =
      "7 bool kor::wwan::MobileapManager::SetLanConfig(std::string, std::string, bool, std::string, std::string, "
      "uint32_t, bool) #: ";
  const Calls lines = log.Take();
  ASSERT_EQ(8u, lines.size());
  EXPECT_EQ(signature + "gw gw nm  enable_dhcp 1 dhcp_start_ip start dhcp_end_ip end dhcp_lease_time -1\n", lines[0]);
  for (size_t i = 1; i < lines.size(); i += 2) EXPECT_EQ(signature + "after activate LAN\n", lines[i]);
}

TEST_F(MobileapManagerTest, ASetterReadsChangesItsFieldsWritesAndActivates) {
  Vendor::Set([](Answers& a) { a.lan = {false, "10.0.0.1", "255.255.255.0", true, "10.0.0.20", "10.0.0.60", 3600}; });
  const std::vector<std::pair<std::string, std::function<bool()>>> setters{
      {"10.9.9.9 255.255.255.0 1 10.0.0.20 10.0.0.60 3600", [&] { return lan_.SetGatewayIp("10.9.9.9"); }},
      {"10.0.0.1 255.255.255.0 1 10.0.0.2 10.0.0.60 3600", [&] { return lan_.SetDhcpServerStartIp("10.0.0.2"); }},
      {"10.0.0.1 255.255.255.0 1 10.0.0.20 10.0.0.99 3600", [&] { return lan_.SetDhcpServerEndIp("10.0.0.99"); }},
      {"10.0.0.1 255.255.255.0 1 10.0.0.70 10.0.0.80 3600",
       [&] { return lan_.SetDhcpServerIpRange("10.0.0.70", "10.0.0.80"); }},
      {"10.0.0.1 255.255.255.0 0 10.0.0.20 10.0.0.60 3600", [&] { return lan_.SetDhcpServerEnable(false); }},
      {"10.0.0.1 255.255.255.0 1 10.0.0.20 10.0.0.60 4294967295", [&] { return lan_.SetDhcpServerLeaseTime(-1); }},
      {"10.0.0.1 255.255.255.0 0 10.0.0.70 bad 60",  // The one that does not check its pool.
       [&] { return lan_.SetDhcpServerConfig(false, "10.0.0.70", "bad", 60); }}};
  for (const auto& [written, set] : setters) {
    const Calls all{"GetLanConfig", "SetLanConfig " + written, "ActivateLan"};
    Refuse({});
    EXPECT_TRUE(set());
    EXPECT_EQ(all, Vendor::Take());
    // A failure at each place: what would follow is not asked for.
    const char* operations[] = {"GetLanConfig", "SetLanConfig", "ActivateLan"};
    for (int i = 0; i < 3; ++i) {
      Refuse({operations[i]});
      EXPECT_FALSE(set());
      EXPECT_EQ(Calls(all.begin(), all.begin() + i + 1), Vendor::Take());
    }
  }

  // A pool that does not fit, with the end that stays or by itself, is not written.
  Refuse({});
  EXPECT_FALSE(lan_.SetDhcpServerStartIp("10.0.0.61") || lan_.SetDhcpServerEndIp("10.0.0.19"));
  EXPECT_FALSE(lan_.SetDhcpServerIpRange("10.0.0.70", "10.0.1.80"));
  EXPECT_EQ(Calls(3, "GetLanConfig"), Vendor::Take());
  // A bad gateway does not even lead to a question.
  for (const char* bad : {"", "10.9.9", "fd64::1"}) EXPECT_FALSE(lan_.SetGatewayIp(bad));
  EXPECT_EQ(Calls{}, Vendor::Take());

  // A read that fails leaves nothing of what it brought.
  EXPECT_TRUE(lan_.GetLanConfig().valid);
  Refuse({"GetLanConfig"});
  const auto config = lan_.GetLanConfig();
  EXPECT_FALSE(config.valid);
  EXPECT_EQ("", config.gw + config.nm + config.dhcp_start_ip + config.dhcp_end_ip);
}

TEST_F(MobileapManagerTest, AVlanIsNotMappedToTheDefaultPdn) {
  SyslogReader log;
  const auto set = [&](int pdn) {
    Vlan vlan{kUsb, 30, pdn};
    return lan_.SetVlanConfig(true, vlan);
  };
  EXPECT_FALSE(set(0));
  EXPECT_EQ((Calls{"3 bool kor::wwan::MobileapManager::SetVlanConfig(bool, "
                   "kor::wwan::MobileapManager::VlanConfig&) #: Vlan cannot be mapped with default PDN\n"}),
            log.Take());
  Vlan vlan{kUsb, 30, 0};  // The rule is one of making, and of that operation alone.
  const auto others = [&] {
    return lan_.SetVlanConfig(false, vlan) + lan_.SetPdnToVlanMapping(true, vlan) +
           lan_.SetPdnToVlanMapping(false, vlan);
  };
  EXPECT_EQ(3, others());
  EXPECT_TRUE(set(-1) && set(2));
  const Calls asked{"DeleteVlanConfig 30",   "SetPdnToVlanMapping 30 0", "DeletePdnToVlanMapping 30 0",
                    "SetVlanConfig 1 30 -1", "SetVlanConfig 1 30 2",     "SetPdnToVlanMapping 30 2"};
  EXPECT_EQ(asked, Vendor::Take());

  // Refused at each place.
  Refuse({"DeleteVlanConfig", "SetPdnToVlanMapping", "DeletePdnToVlanMapping"});
  EXPECT_EQ(0, others());
  EXPECT_FALSE(set(2));
  Refuse({"SetVlanConfig"});
  (void)Vendor::Take();
  EXPECT_FALSE(set(2));
  EXPECT_EQ((Calls{"SetVlanConfig 1 30 2"}), Vendor::Take());

  // The mobile-AP side may change the PDN: what it left counts, in both directions.
  for (const auto& [left, given] : {std::make_pair(0, 2), std::make_pair(5, -1)}) {
    Vendor::Set([pdn = left](Answers& a) { a = Answers(), a.vlan_pdn = pdn; });
    EXPECT_TRUE(set(given));
  }
  EXPECT_EQ((Calls{"SetVlanConfig 1 30 2", "SetVlanConfig 1 30 -1", "SetPdnToVlanMapping 30 5"}), Vendor::Take());
}

TEST_F(MobileapManagerTest, TheListOfVlansHasTheLastMappingOfEach) {
  Vendor::Set([](Answers& a) {
    a.vlans = {{kUsb, 30, -1}, {kUsb, 31, 8}, {kUsb, 32, -1}};
    a.mappings = {{30, 1}, {32, 4}, {30, 3}, {99, 6}};
  });
  std::vector<Vlan> configs;
  const auto pdns = [&] { return std::vector<int>{configs.at(0).pdn, configs.at(1).pdn, configs.at(2).pdn}; };
  EXPECT_TRUE(lan_.GetVlanConfigs(configs));
  EXPECT_EQ((std::vector<int>{3, 8, 4}), pdns());
  Refuse({"GetPdnToVlanMapping"});
  EXPECT_FALSE(lan_.GetVlanConfigs(configs));
  EXPECT_EQ((std::vector<int>{-1, 8, -1}), pdns());
  Vendor::Set([](Answers& a) { a.vlans.clear(); });
  EXPECT_FALSE(lan_.GetVlanConfigs(configs));  // The mappings are asked for all the same.
  Refuse({"GetVlanConfigs"});
  (void)Vendor::Take();
  EXPECT_FALSE(lan_.GetVlanConfigs(configs));
  EXPECT_EQ((Calls{"GetVlanConfigs"}), Vendor::Take());

  // Passthrough: one request each, both arguments filled.
  MobileapManager::IpPassthroughConfig config{MobileapManager::IpPassthroughMode::kHostName, "printer"};
  bool enabled = false;
  EXPECT_TRUE(lan_.SetIpPassthrough(true, config) && lan_.GetIpPassthrough(enabled, config));
  EXPECT_TRUE(enabled && config.target == "laptop");
  Refuse({"SetIpPassthrough", "GetIpPassthrough"});
  EXPECT_FALSE(lan_.SetIpPassthrough(false, config) || lan_.GetIpPassthrough(enabled, config));
}

}  // namespace
}  // namespace kor::test
