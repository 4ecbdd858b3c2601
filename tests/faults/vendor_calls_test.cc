// SPDX-License-Identifier: Apache-2.0
// Every call to the vendor's side that a public operation makes fails, one at a time.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "dns/dns_ctrl_service.h"
#include "simulator/sim_modem.h"
#include "support/files.h"
#include "support/footprint.h"
#include "support/secrets.h"
#include "support/wait.h"
#include "wwan/at_manager.h"
#include "wwan/data_manager.h"
#include "wwan/device_manager.h"
#include "wwan/dns_ctrl_manager.h"
#include "wwan/mobileap_manager.h"
#include "wwan/network_manager.h"
#include "wwan/sim_manager.h"
#include "wwan/sms_manager.h"

namespace kor::test {
namespace {

using namespace kor::wwan;
using kor::modem::SimModem;
using kor::util::EventDic;
using kor::util::IPFamily;

constexpr auto kIpv4 = IPFamily::kIpv4;
constexpr auto kIpv6 = IPFamily::kIpv6;
constexpr kor::Result kRefused{77};

int Number(kor::Result result) { return static_cast<int>(result); }

// A public operation, and what its headers promise when a call that it makes fails. (What refuses a connect or a
// disconnect is always passed on.)
struct Plan {
  const char* name;
  int good;
  int failed;
  std::function<int()> run;
  std::function<void()> prepare = [] {};  // Before each run, beyond one idle policy.
};

std::string NameOf(const std::string& call) { return call.substr(0, call.find(' ')); }

class VendorCallsTest : public testing::Test {
 protected:
  VendorCallsTest() {
    modem_.SetLinks(false);
    modem_.SetConnectDelay(SimModem::Milliseconds(1));
    modem_.SetDisconnectDelay(SimModem::Milliseconds(1));
    modem_.SetAnswerDelay(SimModem::Milliseconds(1));
    modem_.SetScanDelay(SimModem::Milliseconds(1));
    modem_.SetSimDelay(SimModem::Milliseconds(0));
    // Without interfaces nobody refreshes the forwarder: every call that comes up is word enough, and all requests to
    // the vendor's side are the operation's own.
    watcher_.SetEventCb([](EventDic& ev) {
      if (ev.event != kor::util::kEvtWwanConnected) return;
      EventDic updated;
      updated.event = kor::util::kEvtDnsUpdated;
      DnsCtrlManager::s_dns_ctrl_service_->callbacks_.Notify(updated);
    });
  }

  // One policy, its calls down.
  void Rest() {
    for (const uint32_t index : {1u, 0u}) {
      for (const IPFamily family : {kIpv4, kIpv6}) (void)data_.Disconnect(index, family, true);
    }
    while (data_.DeletePdn(1)) {
    }
    EXPECT_TRUE(data_.SetPolicy(0, Tech::kAny, IPFamily::kBoth, 1, 1));
    EXPECT_TRUE(data_.SetIpv4Enabled(0, true, IPFamily::kBoth));
    EXPECT_TRUE(modem_.WaitIdle(kLongEnough));
  }

  int Run(const Plan& plan, const std::function<void()>& arm = nullptr) {
    Rest();
    plan.prepare();
    if (arm) arm();
    (void)modem_.TakeRecord();
    const int result = plan.run();
    record_ = modem_.TakeRecord();
    return result;
  }

  void Walk(const Plan& plan) {
    EXPECT_EQ(plan.good, Run(plan)) << plan.name;
    const std::vector<std::string> calls = record_;
    EXPECT_FALSE(calls.empty()) << plan.name;
    Rest();
    const std::string before = Footprint();
    std::map<std::string, int> seen;
    for (const std::string& call : calls) {
      const std::string name = NameOf(call);
      SCOPED_TRACE(std::string(plan.name) + ", " + call);
      const bool passed_on = name == "ConnectBackhaul" || name == "DisconnectBackhaul";
      const auto arm = [&, nth = seen[name]++] { modem_.FailNext(name, 1, kRefused, nth); };
      EXPECT_EQ(passed_on ? Number(kRefused) : plan.failed, Run(plan, arm));
      modem_.FailNext(name, 0);
      EXPECT_EQ(plan.good, Run(plan)) << "the next one";
      Rest();
      EXPECT_TRUE(ComesTo(before));
    }
  }

  void Up() { EXPECT_EQ(kor::Result::kSuccess, data_.Connect(0, kIpv4, true)); }
  void SecondPolicy() { EXPECT_TRUE(data_.CreatePdn(Tech::kAny, IPFamily::kBoth, 2, 2)); }

  SimModem& modem_ = SimModem::Get();
  DnsCtrlManager dns_;
  DataManager watcher_;
  DataManager data_;
  std::vector<std::string> record_;
};

TEST_F(VendorCallsTest, OfTheDataSide) {
  using Type = DataManager::ProfileType;
  using Status = DataManager::ConnectStatus;
  std::vector<DataManager::WwanPolicy> policies;
  DataManager::WwanStatus status;
  std::vector<DataManager::WwanStatus> statuses;
  Status state4{};
  Status state6{};
  DataManager::NetworkConfig config;
  DataManager::ProfileSetting setting;
  setting.index = 1;
  std::list<DataManager::ProfileInfo> profiles;
  std::string name;
  bool on4 = false;
  bool on6 = false;
  const auto up = [this] { Up(); };
  const auto second = [this] { SecondPolicy(); };
  const auto up_with_link = [this] {
    modem_.SetLinks(true);
    Up();
    modem_.SetLinks(false);
  };
  const Plan plans[] = {
      {"GetWwanPolicies", 1, 0, [&] { return data_.GetWwanPolicies(policies); }},
      {"SetPolicy", 1, 0, [&] { return data_.SetPolicy(0, Tech::kLte, kIpv4, 3, -1); }},
      {"GetConnectStatus", 1, 0, [&] { return data_.GetConnectStatus(0, state4, state6); }},
      {"GetWwanStatus", 1, 0, [&] { return data_.GetWwanStatus(0, status); }},
      {"GetWwanStatuses", 1, 0, [&] { return data_.GetWwanStatuses(statuses); }, second},
      {"SetAutoConnect", 1, 0, [&] { return data_.SetAutoConnect(0, true); }},
      {"GetAutoConnect", 1, 0, [&] { return data_.GetAutoConnect(0, on4); }},
      {"SetRoaming", 1, 0, [&] { return data_.SetRoaming(0, true); }},
      {"GetRoaming", 1, 0, [&] { return data_.GetRoaming(0, on4); }},
      {"CreatePdn", 1, 0, [&] { return data_.CreatePdn(Tech::kAny, kIpv4, 2, 2); }},
      {"DeletePdn", 1, 0, [&] { return data_.DeletePdn(1); }, second},
      {"GetNetworkConfig", 0, 77, [&] { return Number(data_.GetNetworkConfig(0, kIpv4, config)); }, up},
      {"GetIpvEnabled", 1, 0, [&] { return data_.GetIpvEnabled(0, on4, on6); }},
      {"SetIpv4Enabled on", 1, 0, [&] { return data_.SetIpv4Enabled(0, true, IPFamily::kBoth); }},
      {"SetIpv4Enabled off", 1, 0, [&] { return data_.SetIpv4Enabled(0, false, IPFamily::kBoth); }},
      {"GetWwanStatusWithCid", 1, 0, [&] { return data_.GetWwanStatusWithCid(1, state4, state6); }},
      {"GetNetworkConfigWithCid", 0, 1, [&] { return Number(data_.GetNetworkConfigWithCid(1, kIpv4, config)); }, up},
      {"GetIfaceNameWithCid", 1, 0, [&] { return data_.GetIfaceNameWithCid(1, name); }, up_with_link},
      {"GetProfileSetting", 0, 77, [&] { return Number(data_.GetProfileSetting(Type::k3gpp, 1, setting)); }},
      {"GetProfileList", 0, 77, [&] { return Number(data_.GetProfileList(profiles)); }},
      {"CreateProfile", 10, 16, [&] { return Number(data_.CreateProfile(Type::k3gpp, 1)); }},
      {"ModifyProfileSetting", 16, 10, [&] { return Number(data_.ModifyProfileSetting(setting)); }},
      {"Connect", 0, 1, [&] { return Number(data_.Connect(0, kIpv4, false)); }},
      {"Connect, waiting", 0, 1, [&] { return Number(data_.Connect(0, kIpv6, true)); }},
      {"Disconnect", 0, 1, [&] { return Number(data_.Disconnect(0, kIpv4, false)); }, up},
      {"Disconnect, waiting", 0, 1, [&] { return Number(data_.Disconnect(0, kIpv4, true)); }, up},
      {"ConnectWithCid, carried", 0, 1, [&] { return Number(data_.ConnectWithCid(1, kIpv4, true)); }},
      {"ConnectWithCid, given", 0, 1, [&] { return Number(data_.ConnectWithCid(3, kIpv4, true)); }},
      {"ConnectWithCid, made", 0, 1, [&] { return Number(data_.ConnectWithCid(2, kIpv6, true)); }, up},
  };
  for (const Plan& plan : plans) Walk(plan);
}

TEST_F(VendorCallsTest, OfTheRest) {
  AtManager at;
  DeviceManager device;
  SimManager sim;
  SmsManager sms;
  NetworkManager radio;
  MobileapManager lan;
  std::string model;
  std::list<SmsManager::RouteInfo> routes;
  NetworkManager::CellLocationInfo cells;
  MobileapManager::LanConfig whole = lan.GetLanConfig();
  MobileapManager::VlanConfig vlan{MobileapManager::LanInterface::kUsb, 100, 1};
  std::vector<MobileapManager::VlanConfig> vlans;
  MobileapManager::IpPassthroughConfig passthrough;
  bool on = false;
  std::string pin = kPin;
  std::string next_pin = kOtherPin;
  EXPECT_TRUE(modem_.EnterPuk(1, kPuk, pin));
  const auto change_pin = [&] {
    const kor::Result result = device.ChangePinLockPwd(1, pin, next_pin);
    if (result == kor::Result::kSuccess) pin.swap(next_pin);
    return Number(result);
  };
  const auto second = [this] { SecondPolicy(); };
  const auto with_vlan = [&] {
    SecondPolicy();
    EXPECT_TRUE(lan.SetVlanConfig(true, vlan));
  };
  // A query's answer comes once, or not at all when it was not taken; -1 for anything else.
  const auto answers_to = [this](auto query) {
    int answers = 0;
    const bool taken = query([&](auto&, void*) { ++answers; });
    EXPECT_TRUE(modem_.WaitIdle(kLongEnough));
    return answers == (taken ? 1 : 0) ? answers : -1;
  };
  const Plan plans[] = {
      {"SendNotification", 0, 77, [&] { return at.SendNotification("news"); }},
      {"NotifyRegistrationDone", 0, 77, [&] { return at.NotifyRegistrationDone(); }},
      {"GetModelId", 0, 77, [&] { return Number(device.GetModelId(model)); }},
      {"GetPinStatus", 0x103, 77, [&] { return Number(device.GetPinStatus()); }},
      {"SetPinLock", 0, 77, [&] { return Number(device.SetPinLock(1, true, pin)); }},
      {"ChangePinLockPwd", 0, 77, change_pin},
      {"GetRouteList", 0, 77, [&] { return Number(sms.GetRouteList(routes)); }},
      {"SetRouteList", 0, 77, [&] { return Number(sms.SetRouteList(routes)); }},
      {"ModifyTagAsync", 0, 77, [&] { return Number(sms.ModifyTagAsync()); }},
      {"scan", 1, 0, [&] { return answers_to([&](auto cb) { return radio.StartScanAsync(cb, nullptr); }); }},
      {"signal", 1, 0, [&] { return answers_to([&](auto cb) { return radio.GetSignalInfoAsync(cb, nullptr); }); }},
      {"errors", 1, 0, [&] { return answers_to([&](auto cb) { return radio.GetErrorRateAsync(cb, nullptr); }); }},
      {"cells", 1, 0, [&] { return answers_to([&](auto cb) { return radio.GetCellLocationAsync(cb, nullptr); }); }},
      {"system", 1, 0, [&] { return answers_to([&](auto cb) { return radio.GetSystemInfoAsync(cb, nullptr); }); }},
      {"GetCellLocation", 1, 0, [&] { return radio.GetCellLocation(cells); }},
      {"GetLanConfig", 1, 0, [&] { return lan.GetLanConfig().valid; }},
      {"SetLanConfig", 1, 0,
       [&] {
         return lan.SetLanConfig("192.168.225.1", "255.255.255.0", true, "192.168.225.20", "192.168.225.60", 60, true);
       }},
      {"SetLanConfig, whole", 1, 0, [&] { return lan.SetLanConfig(whole, true); }},
      {"ActivateLan", 1, 0, [&] { return lan.ActivateLan(); }},
      {"SetGatewayIp", 1, 0, [&] { return lan.SetGatewayIp("192.168.225.1"); }},
      {"SetDhcpServerStartIp", 1, 0, [&] { return lan.SetDhcpServerStartIp("192.168.225.20"); }},
      {"SetDhcpServerEndIp", 1, 0, [&] { return lan.SetDhcpServerEndIp("192.168.225.60"); }},
      {"SetDhcpServerIpRange", 1, 0, [&] { return lan.SetDhcpServerIpRange("192.168.225.20", "192.168.225.60"); }},
      {"SetDhcpServerEnable", 1, 0, [&] { return lan.SetDhcpServerEnable(true); }},
      {"SetDhcpServerLeaseTime", 1, 0, [&] { return lan.SetDhcpServerLeaseTime(60); }},
      {"SetDhcpServerConfig", 1, 0,
       [&] { return lan.SetDhcpServerConfig(true, "192.168.225.20", "192.168.225.60", 60); }},
      {"SetVlanConfig on", 1, 0, [&] { return lan.SetVlanConfig(true, vlan); }, second},
      {"GetVlanConfigs", 1, 0, [&] { return lan.GetVlanConfigs(vlans); }, with_vlan},
      {"SetPdnToVlanMapping on", 1, 0, [&] { return lan.SetPdnToVlanMapping(true, vlan); }, with_vlan},
      {"SetPdnToVlanMapping off", 1, 0, [&] { return lan.SetPdnToVlanMapping(false, vlan); }, with_vlan},
      {"SetVlanConfig off", 1, 0, [&] { return lan.SetVlanConfig(false, vlan); }, with_vlan},
      {"SetIpPassthrough", 1, 0, [&] { return lan.SetIpPassthrough(true, passthrough); }},
      {"GetIpPassthrough", 1, 0, [&] { return lan.GetIpPassthrough(on, passthrough); }},
      {"TurnOffPower", 0, 77, [&] { return Number(sim.TurnOffPower(1)); }},
      {"TurnOnPower", 0, 77, [&] { return Number(sim.TurnOnPower(1)); }},
      {"SetPinLock off", 0, 77, [&] { return Number(device.SetPinLock(1, false, pin)); }},
  };
  for (const Plan& plan : plans) Walk(plan);
}

TEST_F(VendorCallsTest, OfTheForwardersStart) {
  // What cannot be asked counts as nothing: the service runs, and its list is written all the same, without it.
  const auto start = [this] {
    int updates = 0;
    dns_.SetEventCb([&](EventDic&) { ++updates; });
    const bool started = dns_.StartService();
    dns_.UnsetEventCb();
    const std::string list = ReadFile("/var/run/netctld-dnsmasq/dnsmasq_resolv.conf");
    EXPECT_TRUE(dns_.StopService());
    EXPECT_EQ(1, updates);
    const auto servers = std::count(list.begin(), list.end(), '\n');
    return started ? static_cast<int>(servers == 2) : -1;
  };
  const auto both_up = [this] {
    Up();
    EXPECT_EQ(kor::Result::kSuccess, data_.Connect(0, kIpv6, true));
  };
  Walk({"StartService", 1, 0, start, both_up});

  // A modem that is not there is told by an exception. The service runs, and is as good as any other.
  const std::string before = Footprint();
  for (int good : {0, 1}) {
    modem_.FailNext("GetInstance", 1, kRefused, good);
    EXPECT_THROW(dns_.StartService(), std::runtime_error);
    EXPECT_TRUE(dns_.StartService());
    EXPECT_TRUE(dns_.StopService());
    EXPECT_TRUE(ComesTo(before));
  }
  both_up();
  EXPECT_EQ(1, start());
}

template <typename Manager>
void ExpectToThrowWithout(const std::vector<const char*>& clients) {
  { Manager warm; }  // Its clients live on.
  const std::string before = Footprint();
  for (const char* client : clients) {
    SimModem::Get().FailNext(std::string(client) + ".GetInstance", 1);
    EXPECT_THROW(Manager(), std::runtime_error) << client;
    EXPECT_TRUE(ComesTo(before)) << client;
    Manager next;
  }
}

TEST_F(VendorCallsTest, OfTheConstructors) {
  ExpectToThrowWithout<DataManager>({"QcmapWrapper", "WdsQmiClient"});
  ExpectToThrowWithout<AtManager>({"AtsQmiClient", "M2mQmiClient"});
  ExpectToThrowWithout<DeviceManager>({"DmsQmiClient"});
  ExpectToThrowWithout<SimManager>({"UimQmiClient"});
  ExpectToThrowWithout<SmsManager>({"WmsQmiClient"});
  ExpectToThrowWithout<NetworkManager>({"NasQmiClient"});
  ExpectToThrowWithout<MobileapManager>({"QcmapWrapper"});
}

}  // namespace
}  // namespace kor::test
