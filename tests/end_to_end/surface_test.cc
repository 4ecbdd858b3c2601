// SPDX-License-Identifier: Apache-2.0
// The LAN, the radio, the SIM and short messages as a host sees them, over the simulated modem.
#include <gtest/gtest.h>

#include <list>
#include <string>
#include <vector>

#include "simulator/sim_modem.h"
#include "support/secrets.h"
#include "support/wait.h"
#include "wwan/data_manager.h"
#include "wwan/device_manager.h"
#include "wwan/mobileap_manager.h"
#include "wwan/network_manager.h"
#include "wwan/sim_manager.h"
#include "wwan/sms_manager.h"

namespace kor::test {
namespace {

using Device = kor::wwan::DeviceManager;
using Lan = kor::wwan::MobileapManager;
constexpr auto kOk = kor::Result::kSuccess;
constexpr kor::Result kOwnCode{77};  // A code of the vendor's own.

struct SurfaceTest : testing::Test {
  kor::modem::SimModem& modem = kor::modem::SimModem::Get();
  Lan lan;
};

TEST_F(SurfaceTest, ALanChangeThatIsRefusedLeavesTheNextOneWhole) {
  // Nothing is written for an address that is none and for a pool that is no good.
  EXPECT_TRUE(lan.SetGatewayIp("192.168.225.9") && lan.SetDhcpServerLeaseTime(60));
  EXPECT_FALSE(lan.SetGatewayIp("192.168.2.256"));
  EXPECT_FALSE(lan.SetDhcpServerIpRange("192.168.225.60", "192.168.225.20"));
  EXPECT_FALSE(lan.SetDhcpServerEndIp("192.168.226.60"));
  EXPECT_TRUE(lan.SetDhcpServerEndIp("192.168.225.99"));  // Takes the recorded lease along.
  const Lan::LanConfig now = lan.GetLanConfig();
  EXPECT_EQ("192.168.225.9 192.168.225.20 192.168.225.99 60",
            now.gw + " " + now.dhcp_start_ip + " " + now.dhcp_end_ip + " " + std::to_string(now.dhcp_lease_time));
}

TEST_F(SurfaceTest, AVlanOutlivesARefusedMappingAndPassthroughComesBackAsSet) {
  Lan::VlanConfig vlan{Lan::LanInterface::kUsb, 20, 1};
  std::vector<Lan::VlanConfig> read;
  EXPECT_FALSE(lan.SetVlanConfig(true, vlan));  // There is no PDN 1 yet.
  EXPECT_TRUE(lan.GetVlanConfigs(read) && read.size() == 1);
  ASSERT_TRUE(kor::wwan::DataManager().CreatePdn(kor::wwan::Tech::kAny, kor::util::IPFamily::kBoth, 2, 2));
  EXPECT_TRUE(lan.SetVlanConfig(true, vlan) && lan.GetVlanConfigs(read));
  EXPECT_TRUE(read.size() == 1 && read[0].interface == vlan.interface && read[0].pdn == 1);

  Lan::IpPassthroughConfig host{Lan::IpPassthroughMode::kHostName, "printer"}, found;
  bool enabled = false;
  EXPECT_TRUE(lan.SetIpPassthrough(true, host) && lan.GetIpPassthrough(enabled, found));
  EXPECT_TRUE(enabled && found.mode == host.mode && found.target == "printer");
}

TEST_F(SurfaceTest, TheCardWantsItsPinThenItsPukAndMayBeAway) {
  Device device;
  kor::wwan::SimManager sim;
  EXPECT_TRUE(modem.EnterPuk(1, kPuk, kPin) && device.SetPinLock(1, true, kPin) == kOk);
  EXPECT_TRUE(sim.TurnOffPower(1) == kOk);
  EXPECT_TRUE(device.GetPinStatus() == Device::kSimNotReady && sim.TurnOnPower(1) == kOk);
  ASSERT_TRUE(Eventually([&] { return device.GetPinStatus() == Device::kPinNotVerified; }));
  modem.FailNext("SetPinLock", 1, kOwnCode);
  for (const auto expected : {kOwnCode, Device::kPinIncorrect, Device::kPinIncorrect, Device::kPinBlocked}) {
    EXPECT_EQ(expected, device.SetPinLock(1, true, kWrongPin));
  }
  EXPECT_TRUE(modem.EnterPuk(1, kPuk, kOtherPin) && device.GetPinStatus() == Device::kPinVerified);
  modem.SetSimPresent(false);
  EXPECT_EQ(Device::kSimNotReady, device.SetPinLock(1, true, kOtherPin));
}

TEST_F(SurfaceTest, ScansAndRoutesAreRefusedOnDemandAndAnsweredTheNextTime) {
  kor::wwan::NetworkManager network;
  std::vector<kor::Result> answers;  // The modem's thread adds to them until it is idle.
  const auto put = [&](kor::wwan::NetworkManager::ScanResult& scan, void*) { answers.push_back(scan.result); };
  modem.FailNext("StartScan", 1);
  EXPECT_FALSE(network.StartScanAsync(put, nullptr));
  EXPECT_TRUE(network.StartScanAsync(nullptr, nullptr) && network.StartScanAsync(put, nullptr));
  ASSERT_TRUE(modem.WaitIdle(kLongEnough));
  EXPECT_EQ(std::vector<kor::Result>{kOk}, answers);

  kor::wwan::SmsManager sms;
  std::list<kor::wwan::SmsManager::RouteInfo> routes;
  modem.FailNext("GetSmsRoutes", 1, kOwnCode);
  EXPECT_TRUE(sms.GetRouteList(routes) == kOwnCode && sms.GetRouteList(routes) == kOk && routes.size() == 5);
}

}  // namespace
}  // namespace kor::test
