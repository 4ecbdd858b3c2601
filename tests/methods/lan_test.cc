// SPDX-License-Identifier: Apache-2.0
// LAN changes that would cut off the person who makes them.
#include "host_fixture.h"
#include "wwan/mobileap_manager.h"

namespace kor::test {
namespace {

constexpr char kBefore[] = "192.168.225.1 255.255.255.0 192.168.225.20-192.168.225.60 43200";
constexpr char kMoved[] = "10.9.0.1 255.255.255.0 10.9.0.20-10.9.0.60 43200";

class LanTest : public HostTest {
 protected:
  // The LAN as the library has it, the host behind or not.
  static std::string Lan() {
    const auto lan = kor::wwan::MobileapManager().GetLanConfig();
    const std::string pool = lan.dhcp_start_ip + "-" + lan.dhcp_end_ip + " " + std::to_string(lan.dhcp_lease_time);
    return lan.gw + " " + lan.nm + " " + (lan.enable_dhcp ? pool : "- -");
  }
};

TEST_F(LanTest, WhatIsNoLanIsRefused) {
  const char* const wrong[] = {R"({"gateway":"10.9.0.1"})",
                               R"({"gateway":"10.9.0.20","move_pool":true})",  // In the pool.
                               R"({"gateway":"10.9.0.1 ","move_pool":true})", R"({"netmask":"255.0.255.0"})",
                               R"({"gateway":"10.9.0.1","start":"10.9.0.2","move_pool":true})"};
  for (const char* params : wrong) EXPECT_EQ(kor::host::kInvalidParams, ErrorOf("lan.set", params)) << params;
  EXPECT_EQ(kBefore, Lan());

  // Without a DHCP server the pool does not matter.
  EXPECT_EQ(false, Call("lan.set", R"({"gateway":"10.8.0.1","dhcp":false,"lease_s":60})")["dhcp"]);
  EXPECT_EQ("10.8.0.1 255.255.255.0 - -", Lan());
  EXPECT_EQ("dhcp", Call("lan.set", R"({"dhcp":true})")["error"]["data"]["argument"]);
}

TEST_F(LanTest, AChangeThatNobodyConfirmsIsTakenBack) {
  ASSERT_EQ(0, ErrorOf("lan.set", R"({"lease_s":43200})"));
  ASSERT_EQ(kBefore, Lan());
  const std::string with_limit = R"({"gateway":"10.9.0.1","move_pool":true,"confirm_s":)";

  // Confirmed, and one second later still there.
  const auto start = std::chrono::steady_clock::now();
  EXPECT_NEAR(1, Call("lan.set", with_limit + "1}")["confirm_in_s"].get<double>(), 1);
  EXPECT_EQ(10, ErrorOf("lan.set", R"({"lease_s":60})"));  // One at a time.
  EXPECT_EQ(nullptr, Call("lan.confirm").at("confirm_in_s"));
  EXPECT_EQ(10, ErrorOf("lan.confirm"));
  EXPECT_EQ(10, ErrorOf("lan.rollback"));
  ASSERT_EQ(0, ErrorOf("lan.set", R"({"gateway":"192.168.225.1","move_pool":true})"));
  ASSERT_EQ(kBefore, Lan());

  // Taken back on request, not when the time of the confirmed one is up, ...
  EXPECT_NEAR(600, Call("lan.set", with_limit + "600}")["confirm_in_s"].get<double>(), 5);
  EXPECT_TRUE(Eventually([&] { return std::chrono::steady_clock::now() > start + std::chrono::milliseconds(1200); }));
  EXPECT_EQ(kMoved, Lan());
  EXPECT_EQ(0, ErrorOf("lan.rollback"));
  EXPECT_EQ(kBefore, Lan());

  // ... when the time is up, ...
  ASSERT_EQ(0, ErrorOf("lan.set", with_limit + "1}"));
  ASSERT_EQ(kMoved, Lan());
  ASSERT_TRUE(Eventually([&] { return Heard("lan rolled back").size() == 2; }));
  EXPECT_EQ(kBefore, Lan());
  EXPECT_EQ("not confirmed in time", Heard("lan rolled back")[1]["why"]);

  // ... and at the host's end.
  ASSERT_EQ(0, ErrorOf("lan.set", with_limit + "600}"));
  core->Stop();
  EXPECT_EQ(kBefore, Lan());
}

}  // namespace
}  // namespace kor::test
