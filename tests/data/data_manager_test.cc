// SPDX-License-Identifier: Apache-2.0
#include "wwan/data_manager.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "common/vendor/qcmap_wrapper.h"
#include "common/vendor/wds_qmi_client.h"
#include "support/heard.h"
#include "support/scripted_vendor.h"
#include "support/syslog_reader.h"

namespace kor::test {
namespace {

using Status = DataManager::ConnectStatus;
using kor::wwan::Tech;

TEST(DataManagerTest, InstancesAreCountedAndAFailedConstructionIsNot) {
  auto a = std::make_unique<DataManager>();
  const DataManager b;
  EXPECT_EQ(2u, DataManager::s_ins_cnt_);
  a.reset();
  EXPECT_EQ(1u, DataManager::s_ins_cnt_);

  Vendor::Set([](Answers& answers) { answers.reachable = false; });
  EXPECT_THROW(DataManager{}, std::runtime_error);
  EXPECT_EQ(1u, DataManager::s_ins_cnt_);
  Vendor::Set([](Answers& answers) { answers.reachable = true; });
  EXPECT_NO_THROW(DataManager{});
}

TEST(DataManagerTest, ClientCallbacksHearBothPublishersUntilUnset) {
  ExpectEventsUntilUnset<DataManager, kor::vendor::qcom::qcmap::QcmapWrapper, kor::vendor::qcom::qmi::WdsQmiClient>();
}

TEST(DataManagerTest, OneRequestEachWithArgumentsAndResultsUnchanged) {
  SyslogReader log;
  Vendor::Set([](Answers& answers) {
    answers.policies = {Policy(1, 2, 100)};
    answers.request = static_cast<kor::Result>(77);
  });
  DataManager data;
  std::vector<DataManager::WwanPolicy> policies;
  DataManager::ProfileSetting setting;
  std::list<DataManager::ProfileInfo> profiles;
  bool enabled = false;

  EXPECT_TRUE(data.GetWwanPolicies(policies));
  EXPECT_EQ(100, policies.at(0).handle);
  EXPECT_TRUE(data.SetPolicy(3, Tech::kLte, IPFamily::kIpv6, 5, -1));
  EXPECT_TRUE(data.SetAutoConnect(1, true));
  EXPECT_TRUE(data.GetAutoConnect(1, enabled));
  EXPECT_TRUE(enabled);
  EXPECT_TRUE(data.SetRoaming(2, false));
  EXPECT_TRUE(data.GetRoaming(2, enabled));
  EXPECT_TRUE(data.CreatePdn(Tech::kAny, IPFamily::kBoth, 255, 4));
  EXPECT_TRUE(data.DeletePdn(200));
  EXPECT_EQ(77, static_cast<int>(data.GetProfileSetting(DataManager::ProfileType::k3gpp2, 9, setting)));
  EXPECT_EQ(9, setting.index);
  EXPECT_EQ(77, static_cast<int>(data.GetProfileList(profiles)));
  EXPECT_EQ((Calls{"GetWwanPolicies", "SetWwanPolicy 3 2 2 5 -1", "SetAutoConnect 1 1", "GetAutoConnect 1",
                   "SetRoaming 2 0", "GetRoaming 2", "CreateWwanPolicy 7 3 255 4", "DeleteWwanPolicy 200",
                   "GetProfileSetting 1 9", "GetProfileList"}),
            Vendor::Take());
  EXPECT_EQ((Calls{"7 bool kor::wwan::DataManager::SetPolicy(uint32_t, kor::wwan::Tech, kor::util::IPFamily, int, int) "
                   "#: index 3 profile_1 5 profile_2 -1\n"}),
            log.Take());

  Vendor::Set([](Answers& answers) { answers.ok = false; });
  EXPECT_FALSE(data.SetPolicy(0, Tech::kAny, IPFamily::kBoth, 1, 1));
  EXPECT_FALSE(data.DeletePdn(0));
}

TEST(DataManagerTest, StatusesSayWhatIsKnownAndNoMore) {
  Vendor::Set([](Answers& answers) {
    answers.policies = {Policy(1, 2, 100), Policy(3, 4, 101)};
    answers.states[1] = {Status::kConnected, Status::kConnecting};
  });
  DataManager data;
  std::vector<DataManager::WwanStatus> statuses;
  ASSERT_TRUE(data.GetWwanStatuses(statuses));
  ASSERT_EQ(2u, statuses.size());
  EXPECT_EQ(Status::kDisconnected, statuses[0].ipv4_status);
  EXPECT_EQ(Status::kConnected, statuses[1].ipv4_status);
  EXPECT_EQ(Status::kConnecting, statuses[1].ipv6_status);
  EXPECT_EQ(101, statuses[1].policy.handle);

  // A policy that does not exist: the states are not asked for.
  DataManager::WwanStatus status = statuses[1];
  (void)Vendor::Take();
  EXPECT_FALSE(data.GetWwanStatus(7, status));
  EXPECT_EQ(Status::kConnecting, status.ipv6_status);
  EXPECT_EQ((Calls{"GetWwanPolicy 7"}), Vendor::Take());
  EXPECT_TRUE(data.GetWwanStatus(0, status));
  EXPECT_EQ(Status::kDisconnected, status.ipv6_status);

  // A modem that stops answering: what it had told stays.
  Vendor::Set([](Answers& answers) { answers.refused = {"GetWwanConnectStatus 1"}; });
  EXPECT_FALSE(data.GetWwanStatuses(statuses));
  EXPECT_EQ(1u, statuses.size());
  Vendor::Set([](Answers& answers) { answers.ok = false; });
  Status ipv4 = Status::kConnected;
  Status ipv6 = Status::kConnected;
  EXPECT_FALSE(data.GetConnectStatus(0, ipv4, ipv6));
  EXPECT_EQ(Status::kNone, ipv4);
  EXPECT_EQ(Status::kNone, ipv6);
  EXPECT_FALSE(data.GetWwanStatuses(statuses));
  EXPECT_TRUE(statuses.empty());

  // No policies at all is an answer.
  Vendor::Set([](Answers& answers) { answers.policies.clear(); });
  EXPECT_TRUE(data.GetWwanStatuses(statuses));
  EXPECT_TRUE(statuses.empty());
}

TEST(DataManagerTest, RequestsToChangeAProfileAreExaminedAndNeverSent) {
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
