// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "common/vendor/wms_qmi_client.h"
#include "support/heard.h"
#include "wwan/sms_manager.h"

namespace kor::test {
namespace {

using kor::vendor::qcom::qmi::WmsQmiClient;
using kor::wwan::SmsManager;

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
