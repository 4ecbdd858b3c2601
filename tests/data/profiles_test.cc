// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "support/scripted_vendor.h"
#include "support/syslog_reader.h"

namespace kor::test {
namespace {

TEST(ProfilesTest, RequestsToChangeAProfileAreExaminedAndNeverSent) {
  SyslogReader log;
  DataManager data;
  DataManager::ProfileSetting setting;
  setting.type = DataManager::ProfileType::kEpc;
  setting.index = 7;
  setting.apn = "private.example";

  // The modem knows every profile: there is nothing to create, and modifying is not supported.
  EXPECT_EQ(kor::Result::kPreconditionFailed, data.CreateProfile(DataManager::ProfileType::k3gpp2, 5));
  EXPECT_EQ(kor::Result::kNotSupported, data.ModifyProfileSetting(setting));
  EXPECT_EQ((Calls{"3 kor::Result kor::wwan::DataManager::CreateProfile(kor::wwan::DataManager::ProfileType, int) "
                   "#: profile index 5 already exits\n"}),
            log.Take());

  // It knows none, whatever its code for that is.
  Vendor::Set([](Answers& answers) { answers.request = static_cast<kor::Result>(77); });
  EXPECT_EQ(kor::Result::kNotSupported, data.CreateProfile(DataManager::ProfileType::k3gpp, 6));
  EXPECT_EQ(kor::Result::kPreconditionFailed, data.ModifyProfileSetting(setting));
  EXPECT_EQ((Calls{"3 kor::Result kor::wwan::DataManager::ModifyProfileSetting("
                   "kor::wwan::DataManager::ProfileSetting&) #: Can't get profile setting before modifying\n"}),
            log.Take());

  EXPECT_EQ("private.example", setting.apn);
  EXPECT_EQ((Calls{"GetProfileSetting 1 5", "GetProfileSetting 2 7", "GetProfileSetting 0 6", "GetProfileSetting 2 7"}),
            Vendor::Take());
}

}  // namespace
}  // namespace kor::test
