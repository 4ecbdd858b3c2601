// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "common/vendor/wms_qmi_client.h"
#include "support/heard.h"
#include "support/scripted_vendor.h"
#include "support/secrets.h"
#include "wwan/device_manager.h"
#include "wwan/gps_manager.h"
#include "wwan/sim_manager.h"
#include "wwan/sms_manager.h"

namespace kor::test {
namespace {

using kor::vendor::qcom::qmi::WmsQmiClient;
using kor::wwan::DeviceManager;
using kor::wwan::SimManager;
using kor::wwan::SmsManager;

constexpr auto kNotSupported = kor::Result::kNotSupported;

TEST(DeviceTest, RequestsAndResultCodesPassUnchanged) {
  DeviceManager device;
  SimManager sim;
  SmsManager sms;
  [[maybe_unused]] const kor::wwan::GpsManager gps;
  std::string text = "untouched";
  std::list<SmsManager::RouteInfo> routes;
  SmsManager::MessageStorageStatus status{17, 5};

  for (const int code : {0, 1, 0x104, -3}) {
    const auto expected = static_cast<kor::Result>(code);
    Vendor::Set([&](Answers& a) { a.request = expected; });
    EXPECT_EQ(expected, device.SetPinLock(2, true, kPin));
    EXPECT_EQ(expected, device.ChangePinLockPwd(-7, kPin, kOtherPin));
    EXPECT_EQ(expected, device.GetPinStatus());
    EXPECT_EQ(expected, sim.TurnOnPower(1));
    EXPECT_EQ(expected, sim.TurnOffPower(-2));
    EXPECT_EQ(expected, sms.GetRouteList(routes));
    EXPECT_EQ(expected, sms.SetRouteList(routes));
    EXPECT_EQ(expected, sms.ModifyTagAsync());
    EXPECT_EQ(
        (Calls{std::string("SetPinLock 2 1 ") + kPin, std::string("ChangePinLockPwd -7 ") + kPin + " " + kOtherPin,
               "GetPinStatus", "TurnOnPower 1", "TurnOffPower -2", "GetRouteList", "SetRouteList 2", "ModifyTagAsync"}),
        Vendor::Take());
  }

  // What is not supported asks nothing and leaves its argument alone.
  EXPECT_EQ(kNotSupported, device.GetTmcfgPkgVer(text));
  EXPECT_EQ(kNotSupported,
            sms.GetStorageStatus(SmsManager::MessageStorage::kSim, SmsManager::MessageMode::kGsmWcdma, status));
  EXPECT_EQ("untouched", text);
  EXPECT_EQ(17u + 5u, status.capacity + status.used);
  EXPECT_EQ(Calls{}, Vendor::Take());
  EXPECT_EQ(static_cast<kor::Result>(-3), device.GetModelId(text));
  EXPECT_EQ("bench modem", text);
}

TEST(DeviceTest, AnSmsSubscriptionOutlivesItsManagerUnlessItIsUnset) {
  Heard heard;
  {
    SmsManager a;
    SmsManager b;
    a.UnsetEventCb();
    a.SetEventCb(heard.By('x'));
    a.SetEventCb(heard.By('a'));
    b.SetEventCb(heard.By('b'));
    EXPECT_EQ("ab", heard.Of<WmsQmiClient>());
    b.UnsetEventCb();
  }
  EXPECT_EQ("a", heard.Of<WmsQmiClient>());
}

}  // namespace
}  // namespace kor::test
