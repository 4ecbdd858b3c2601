// SPDX-License-Identifier: Apache-2.0
// The policy table and the host's wishes.
#include <string>
#include <vector>

#include "common/vendor/wds_qmi_client.h"
#include "simulator/bench.h"

namespace kor::test {

using kor::vendor::qcom::qmi::WdsQmiClient;
using kor::wwan::DataManager;
using kor::wwan::Tech;

class PoliciesTest : public BenchTest {
 protected:
  // One text per policy: "PROFILE_1 PROFILE_2 TECH FAMILY HANDLE".
  std::vector<std::string> Policies() {
    std::vector<QcmapWrapper::WwanPolicy> policies;
    std::vector<std::string> texts;
    EXPECT_TRUE(qcmap->GetWwanPolicies(policies));
    for (const auto& policy : policies) texts.push_back(Text(policy));
    return texts;
  }

  static std::string Text(const QcmapWrapper::WwanPolicy& policy) {
    return std::to_string(policy.profile_1) + " " + std::to_string(policy.profile_2) + " " +
           std::to_string(static_cast<int>(policy.tech)) + " " + std::to_string(static_cast<int>(policy.ip_family)) +
           " " + std::to_string(policy.handle);
  }
};

TEST_F(PoliciesTest, PoliciesComeAndGoAndHandlesAreNeverUsedTwice) {
  EXPECT_EQ((std::vector<std::string>{"1 1 7 3 100"}), Policies());
  EXPECT_TRUE(qcmap->CreateWwanPolicy(Tech::kLte, kIpv4, 2, 3));
  EXPECT_TRUE(qcmap->CreateWwanPolicy(Tech::kAny, kBoth, 2, 2));
  EXPECT_EQ((std::vector<std::string>{"1 1 7 3 100", "2 3 2 1 101", "2 2 7 3 102"}), Policies());

  // One with a call stays; the later ones move down and keep their handles and calls.
  BringUp(2, kIpv6);
  EXPECT_FALSE(qcmap->DeleteWwanPolicy(2));
  EXPECT_TRUE(qcmap->DeleteWwanPolicy(1));
  EXPECT_EQ("disconnected connected", States(1));
  EXPECT_TRUE(qcmap->CreateWwanPolicy(Tech::kAny, kBoth, 5, 5));
  EXPECT_TRUE(qcmap->SetWwanPolicy(1, Tech::kNr5g, kIpv6, 6, -1));
  EXPECT_EQ((std::vector<std::string>{"1 1 7 3 100", "-1 6 4 2 102", "5 5 7 3 103"}), Policies());
  EXPECT_EQ(kSuccess, qcmap->DisconnectBackhaul(1, kIpv6));
  EXPECT_FALSE(qcmap->DeleteWwanPolicy(1));
  EXPECT_EQ("disconnected 102 6", listener.Next());
  EXPECT_TRUE(qcmap->DeleteWwanPolicy(1));

  // None at all is a list, too.
  EXPECT_TRUE(qcmap->DeleteWwanPolicy(1) && qcmap->DeleteWwanPolicy(0));
  EXPECT_EQ(std::vector<std::string>{}, Policies());
}

TEST_F(PoliciesTest, OneProfileMayServeBothFamiliesFromTwoPolicies) {
  // Given alone it is that of the policy's families only: a search by family does not find the other's.
  ASSERT_TRUE(qcmap->CreateWwanPolicy(Tech::kAny, kBoth, 4, 4) && qcmap->CreateWwanPolicy(Tech::kAny, kBoth, 5, 5));
  EXPECT_TRUE(qcmap->SetWwanPolicy(0, Tech::kAny, kIpv4, 2, -1));
  EXPECT_TRUE(qcmap->SetWwanPolicy(1, Tech::kAny, kIpv6, 2, -1));
  EXPECT_TRUE(qcmap->SetWwanPolicy(2, Tech::kAny, kBoth, 2, -1));
  EXPECT_EQ((std::vector<std::string>{"2 -1 7 1 100", "-1 2 7 2 101", "2 2 7 3 102"}), Policies());
  BringUp(0, kIpv4);
  BringUp(1, kIpv6);

  // A policy that is widened takes along what it has.
  EXPECT_TRUE(qcmap->SetWwanPolicy(1, Tech::kAny, kBoth, -1, 2));
  EXPECT_EQ("2 2 7 3 101", Policies()[1]);
}

TEST_F(PoliciesTest, AnUnknownIndexChangesNothing) {
  QcmapWrapper::WwanPolicy policy{8, 8, Tech::kUmts, kIpv6, 8};
  bool enabled = true;
  EXPECT_FALSE(qcmap->GetWwanPolicy(1, policy));
  EXPECT_EQ("8 8 1 2 8", Text(policy));
  EXPECT_FALSE(qcmap->GetAutoConnect(1, enabled) || qcmap->GetRoaming(4294967295, enabled));
  EXPECT_TRUE(enabled);
  EXPECT_FALSE(qcmap->SetWwanPolicy(1, Tech::kAny, kBoth, 1, 1) || qcmap->DeleteWwanPolicy(1));
  EXPECT_FALSE(qcmap->SetAutoConnect(1, true) || qcmap->SetRoaming(1, true));
  EXPECT_FALSE(qcmap->DisableIpv6(1) || qcmap->GetIpv6State(1, enabled));
  DataManager::ProfileSetting setting;
  setting.apn = "kept";
  EXPECT_EQ(kFailure, WdsQmiClient::GetInstance()->GetProfileSetting(DataManager::ProfileType::k3gpp, 4, setting));
  EXPECT_EQ("kept", setting.apn);
  EXPECT_EQ("unknown failure", States(1) + " " + Config(1, kIpv4));
  EXPECT_EQ(kFailure, qcmap->ConnectBackhaul(1, kIpv4));
  EXPECT_EQ(kFailure, qcmap->DisconnectBackhaul(1, kIpv4));
  EXPECT_EQ((std::vector<std::string>{"1 1 7 3 100"}), Policies());
  ExpectQuiet();
}

TEST_F(PoliciesTest, OnlyAFamilyOfThePolicyConnects) {
  EXPECT_EQ(kFailure, qcmap->ConnectBackhaul(0, kBoth));
  EXPECT_EQ(kFailure, qcmap->ConnectBackhaul(0, IPFamily{0}));
  EXPECT_EQ(kFailure, qcmap->DisconnectBackhaul(0, kBoth));
  EXPECT_TRUE(qcmap->SetWwanPolicy(0, Tech::kAny, kIpv6, 1, 1));
  EXPECT_EQ(kFailure, qcmap->ConnectBackhaul(0, kIpv4));
  BringUp(0, kIpv6);
  EXPECT_TRUE(qcmap->SetWwanPolicy(0, Tech::kAny, IPFamily{7}, 1, 1));
  EXPECT_EQ(kFailure, qcmap->ConnectBackhaul(0, kIpv6));

  // What is up can be taken down whatever the policy has become.
  EXPECT_EQ("disconnected 100 6", Disconnect(0, kIpv6));
  ExpectQuiet();
}

TEST_F(PoliciesTest, WishesAreKeptAndTheRoamingGateHolds) {
  bool auto_connect = true;
  bool roaming = false;
  EXPECT_TRUE(qcmap->GetAutoConnect(0, auto_connect) && qcmap->GetRoaming(0, roaming));
  EXPECT_TRUE(!auto_connect && roaming);
  EXPECT_TRUE(qcmap->SetRoaming(0, false) && qcmap->GetRoaming(0, roaming) && !roaming);

  // A visited network needs leave; a call that is up stays.
  BringUp(0, kIpv4);
  modem.SetRoaming(true);
  EXPECT_EQ(kFailure, qcmap->ConnectBackhaul(0, kIpv6));
  EXPECT_EQ("connected disconnected", States(0));
  EXPECT_TRUE(qcmap->SetRoaming(0, true));
  BringUp(0, kIpv6);
  EXPECT_TRUE(qcmap->SetAutoConnect(0, true) && qcmap->GetAutoConnect(0, auto_connect) && auto_connect);
}

}  // namespace kor::test
