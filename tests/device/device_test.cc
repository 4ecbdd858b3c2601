// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "common/vendor/wms_qmi_client.h"
#include "support/heard.h"
#include "support/scripted_vendor.h"
#include "wwan/device_manager.h"
#include "wwan/gps_manager.h"
#include "wwan/sms_manager.h"

namespace kor::test {
namespace {

using kor::vendor::qcom::qmi::WmsQmiClient;
using kor::wwan::SmsManager;

constexpr auto kNotSupported = kor::Result::kNotSupported;

TEST(DeviceTest, WhatIsNotSupportedAsksNothingAndLeavesItsArgumentAlone) {
  [[maybe_unused]] const kor::wwan::GpsManager gps;
  std::string text = "untouched";
  SmsManager::MessageStorageStatus status{17, 5};
  EXPECT_EQ(kNotSupported, kor::wwan::DeviceManager().GetTmcfgPkgVer(text));
  EXPECT_EQ(kNotSupported, SmsManager().GetStorageStatus(SmsManager::MessageStorage::kSim,
                                                         SmsManager::MessageMode::kGsmWcdma, status));
  EXPECT_EQ("untouched", text);
  EXPECT_EQ(17u + 5u, status.capacity + status.used);
  EXPECT_EQ(Calls{}, Vendor::Take());
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
