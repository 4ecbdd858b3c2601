// SPDX-License-Identifier: Apache-2.0
// Every operation of the modem port that a public operation makes fails, one at a time.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "dns/dns_ctrl_service.h"
#include "simulator/sim_modem.h"
#include "support/footprint.h"
#include "support/secrets.h"
#include "support/wait.h"
#include "wwan/at_manager.h"
#include "wwan/data_manager.h"
#include "wwan/device_manager.h"
#include "wwan/dns_ctrl_manager.h"
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

// A public operation, and what its headers promise when the modem refuses what it asks.
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
    modem_.SetRecording(true);
    // Without interfaces nobody refreshes the forwarder: every call that comes up is word enough, and all requests to
    // the modem are the operation's own.
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
      EXPECT_EQ(plan.failed, Run(plan, [&, nth = seen[name]++] { modem_.FailNext(name, 1, kRefused, nth); }));
      modem_.FailNext(name, 0);
      EXPECT_EQ(plan.good, Run(plan)) << "the next one";
      Rest();
      EXPECT_TRUE(ComesTo(before));
    }
  }

  void Up() { EXPECT_EQ(kor::Result::kSuccess, data_.Connect(0, kIpv4, true)); }

  SimModem& modem_ = SimModem::Get();
  DnsCtrlManager dns_;
  DataManager watcher_;
  DataManager data_;
  std::vector<std::string> record_;
};

TEST_F(VendorCallsTest, OfTheDataSide) {
  using Type = DataManager::ProfileType;
  DataManager::NetworkConfig config;
  DataManager::ProfileSetting setting;
  setting.index = 1;
  std::list<DataManager::ProfileInfo> profiles;
  std::string name;
  const auto up = [this] { Up(); };
  const auto up_with_link = [this] {
    modem_.SetLinks(true);
    Up();
    modem_.SetLinks(false);
  };
  const Plan plans[] = {
      {"GetNetworkConfig", 0, 77, [&] { return Number(data_.GetNetworkConfig(0, kIpv4, config)); }, up},
      {"SetIpv4Enabled off", 1, 0, [&] { return data_.SetIpv4Enabled(0, false, IPFamily::kBoth); }, up},
      {"GetNetworkConfigWithCid", 0, 1, [&] { return Number(data_.GetNetworkConfigWithCid(1, kIpv4, config)); }, up},
      {"GetIfaceNameWithCid", 1, 0, [&] { return data_.GetIfaceNameWithCid(1, name); }, up_with_link},
      {"GetProfileSetting", 0, 77, [&] { return Number(data_.GetProfileSetting(Type::k3gpp, 1, setting)); }},
      {"GetProfileList", 0, 77, [&] { return Number(data_.GetProfileList(profiles)); }},
      {"CreateProfile", 10, 16, [&] { return Number(data_.CreateProfile(Type::k3gpp, 1)); }},
      {"ModifyProfileSetting", 16, 10, [&] { return Number(data_.ModifyProfileSetting(setting)); }},
      {"Connect", 0, 77, [&] { return Number(data_.Connect(0, kIpv4, false)); }},
      {"Connect, waiting", 0, 77, [&] { return Number(data_.Connect(0, kIpv6, true)); }},
      {"Disconnect", 0, 77, [&] { return Number(data_.Disconnect(0, kIpv4, false)); }, up},
      {"Disconnect, waiting", 0, 77, [&] { return Number(data_.Disconnect(0, kIpv4, true)); }, up},
      {"ConnectWithCid, given", 0, 77, [&] { return Number(data_.ConnectWithCid(3, kIpv4, true)); }},
      {"ConnectWithCid, made", 0, 77, [&] { return Number(data_.ConnectWithCid(2, kIpv6, true)); }, up},
  };
  for (const Plan& plan : plans) Walk(plan);
}

TEST_F(VendorCallsTest, OfTheRest) {
  AtManager at;
  DeviceManager device;
  SimManager sim;
  SmsManager sms;
  NetworkManager radio;
  std::string model;
  std::list<SmsManager::RouteInfo> routes;
  NetworkManager::CellLocationInfo cells;
  std::string pin = kPin;
  std::string next_pin = kOtherPin;
  EXPECT_TRUE(modem_.EnterPuk(1, kPuk, pin));
  const auto change_pin = [&] {
    const kor::Result result = device.ChangePinLockPwd(1, pin, next_pin);
    if (result == kor::Result::kSuccess) pin.swap(next_pin);
    return Number(result);
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
      {"TurnOffPower", 0, 77, [&] { return Number(sim.TurnOffPower(1)); }},
      {"TurnOnPower", 0, 77, [&] { return Number(sim.TurnOnPower(1)); }},
      {"SetPinLock off", 0, 77, [&] { return Number(device.SetPinLock(1, false, pin)); }},
  };
  for (const Plan& plan : plans) Walk(plan);
}

}  // namespace
}  // namespace kor::test
