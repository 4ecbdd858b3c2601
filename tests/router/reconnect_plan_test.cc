// SPDX-License-Identifier: Apache-2.0
#include "router/reconnect_plan.h"

#include <gtest/gtest.h>

namespace kor::test {
namespace {

using namespace std::chrono_literals;
using kor::util::IPFamily;
using kor::vendor::qcom::qcmap::ReconnectPlan;
using ConnectStatus = ReconnectPlan::ConnectStatus;

constexpr auto kUp = ConnectStatus::kConnected;
constexpr auto kDown = ConnectStatus::kDisconnected;
constexpr auto kComing = ConnectStatus::kConnecting;
constexpr auto kGoing = ConnectStatus::kDisconnecting;

// One call, and a clock that stands still unless moved.
class ReconnectPlanTest : public testing::Test {
 protected:
  void See(ConnectStatus state, bool wanted = true) { plan.Update({{key, wanted, state}}, now); }

  // What is due: 'C' to connect, 'D' to disconnect.
  std::string Due() {
    std::string due;
    for (const auto& action : plan.Due(now)) due += action.kind == ReconnectPlan::Action::kConnect ? 'C' : 'D';
    return due;
  }

  // Moves the clock on by `wait`, at whose end, and not before, the call is due.
  void ExpectDueAfter(ReconnectPlan::Clock::duration wait) {
    now += wait - 1ms;
    EXPECT_EQ("", Due());
    now += 1ms;
    EXPECT_EQ("C", Due());
  }

  const ReconnectPlan::Key key{100, IPFamily::kIpv4};
  ReconnectPlan::Clock::time_point now{1h};
  ReconnectPlan plan{1s, 60s};
};

TEST_F(ReconnectPlanTest, WaitsDoubleUntilTheCallIsUp) {
  // The first time: at once. Then each attempt fails, some at once, some later.
  See(kDown);
  EXPECT_EQ("C", Due());
  plan.Tried(key, false, kDown, now);
  for (const auto wait : {1s, 2s, 4s, 8s, 16s, 32s, 60s, 60s}) {
    ExpectDueAfter(wait);
    if (wait > 8s) {
      plan.Tried(key, false, kDown, now);
    } else {
      plan.Tried(key, true, kDown, now);  // Taken; the modem has not begun yet.
      See(kComing);
      EXPECT_EQ("", Due());
      See(kDown);
    }
  }
  EXPECT_EQ(9, plan.TakeScheduled(now).at(0).attempt);

  // Success ends that. A drop with nothing seen between waits the shortest time again.
  See(kUp);
  EXPECT_FALSE(plan.Next());
  See(kDown);
  const auto scheduled = plan.TakeScheduled(now);
  ASSERT_EQ(1u, scheduled.size());
  EXPECT_EQ(1, scheduled[0].attempt);
  EXPECT_EQ(1s, scheduled[0].left);
  See(kDown);  // Seen again: no second wait.
  EXPECT_TRUE(plan.TakeScheduled(now).empty());
  ExpectDueAfter(1s);
}

TEST_F(ReconnectPlanTest, WhileItIsDisconnectingMeansLaterNotFailure) {
  See(kUp);
  See(kGoing);
  now += 1s;
  EXPECT_EQ("", Due());  // Looked at, not asked for.
  See(kDown);
  ExpectDueAfter(1s);
  // It began to go down between the look and the request, which was refused at once.
  plan.Tried(key, false, kGoing, now);
  See(kGoing);
  EXPECT_TRUE(plan.TakeScheduled(now).empty());
  See(kDown);
  ExpectDueAfter(1s);
  // Somebody else was faster.
  plan.Tried(key, false, kUp, now);
  EXPECT_FALSE(plan.Next());
}

TEST_F(ReconnectPlanTest, ACallThatHangsIsTakenDownAndTriedAgain) {
  See(kComing);
  now += 59s;
  See(kComing);
  EXPECT_EQ("", Due());
  now += 1s;
  EXPECT_EQ("D", Due());
  EXPECT_EQ("", Due());
  See(kGoing);
  See(kDown);
  ExpectDueAfter(1s);
}

TEST_F(ReconnectPlanTest, WhatIsNotWantedIsForgotten) {
  See(kUp);
  See(kDown, false);
  EXPECT_FALSE(plan.Next());
  See(kDown);
  EXPECT_EQ("C", Due());  // As if it were seen for the first time; so when the modem is back.
  plan.Tried(key, false, kDown, now);
  plan.Forget();
  EXPECT_FALSE(plan.Next());
  See(kDown);
  EXPECT_EQ("C", Due());
  plan.Update({}, now);
  plan.Tried(key, true, kUp, now);  // An answer for a call that is forgotten.
  EXPECT_FALSE(plan.Next());
}

}  // namespace
}  // namespace kor::test
