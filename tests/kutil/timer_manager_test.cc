// SPDX-License-Identifier: Apache-2.0
#include "common/util/timer_manager.h"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "kutil/probes.h"
#include "support/syslog_reader.h"

namespace kor::util {
namespace {

using namespace std::chrono_literals;
using test::Happening;
using test::ProcessState;
using Clock = std::chrono::steady_clock;

int Add(TimerManager& timers, std::chrono::microseconds delay, std::function<bool()> task) {
  return timers.AddTask(
      delay.count(), [task = std::move(task)](int, void*) { return task(); }, nullptr);
}

TEST(TimerManagerTest, TasksRunInOrderOfTheirTimesAndNeverEarly) {
  // The times lie far apart: on a slow machine adding the tasks takes its time too.
  test::SyslogReader log;
  TimerManager timers;
  std::string order;
  Happening last;
  const auto start = Clock::now();
  const auto note = [&](char name, std::chrono::milliseconds delay) {
    return Add(timers, delay, [&order, &last, start, name, delay] {
      order += name;
      EXPECT_GE(Clock::now() - start, delay);
      if (name == 'e') last.Happen();
      return false;
    });
  };
  EXPECT_EQ(0, note('e', 600ms));
  EXPECT_EQ(1, note('b', 200ms));
  EXPECT_EQ(2, note('c', 200ms));
  int thing = 0;
  const auto first = [&](int id, void* data) {
    EXPECT_EQ(3, id);
    EXPECT_EQ(&thing, data);
    order += 'a';
    return false;
  };
  EXPECT_EQ(3, timers.AddTask(-5, first, &thing));
  // One that throws is logged, ends with that, and takes nobody with it.
  Add(timers, 400ms, [&order]() -> bool {
    order += 'd';
    throw std::runtime_error("oops");
  });
  ASSERT_TRUE(last.Awaited());
  EXPECT_EQ("abcde", order);
  EXPECT_EQ(1u, log.TakeWith("A callback failed: oops").size());
}

TEST(TimerManagerTest, ATaskRunsAgainAsLongAsItSaysSo) {
  TimerManager timers;
  Happening third, after;
  std::vector<Clock::time_point> times;
  Add(timers, 15ms, [&] {
    times.push_back(Clock::now());
    if (times.size() == 3) third.Happen();
    return times.size() < 3;
  });
  ASSERT_TRUE(third.Awaited());
  Add(timers, 30ms, [&] {
    after.Happen();
    return false;
  });
  ASSERT_TRUE(after.Awaited());
  ASSERT_EQ(3u, times.size());
  for (size_t i = 1; i < 3; ++i) EXPECT_GE(times[i] - times[i - 1], 15ms);
}

TEST(TimerManagerTest, DestructionDropsWhatWaitsAndAwaitsWhatRuns) {
  const ProcessState before = ProcessState::Now();
  const auto alive = std::make_shared<int>(0);
  auto timers = std::make_unique<TimerManager>();
  EXPECT_TRUE(before.Returns());  // No thread without a task.
  std::atomic<bool> dropped_ran{false}, ended{false};
  for (const long long us : {300'000'000LL, LLONG_MAX - 1, LLONG_MAX}) {
    Add(*timers, std::chrono::microseconds(us), [&dropped_ran, alive] { return dropped_ran = true; });
  }
  Happening entered, may_end;
  Add(*timers, 0us, [&, alive] {
    entered.Happen();
    EXPECT_TRUE(may_end.Awaited());
    return ended = true;
  });
  ASSERT_TRUE(entered.Awaited());
  std::thread helper([&] { may_end.Happen(); });
  timers.reset();
  EXPECT_TRUE(ended);
  helper.join();
  EXPECT_FALSE(dropped_ran);
  EXPECT_EQ(1, alive.use_count());
  EXPECT_TRUE(before.Returns());
}

TEST(TimerManagerTest, ATaskMayDestroyItsManager) {
  const ProcessState before = ProcessState::Now();
  const auto alive = std::make_shared<int>(0);
  auto timers = std::make_shared<TimerManager>();
  Happening gone;
  Add(*timers, 10min, [alive] { return false; });
  Add(*timers, 0us, [&timers, &gone, alive] {
    Add(*timers, 0us, [] { return false; });  // Tasks may add tasks, too.
    timers.reset();
    gone.Happen();
    return true;
  });
  ASSERT_TRUE(gone.Awaited());
  EXPECT_TRUE(before.Returns());
  EXPECT_EQ(1, alive.use_count());
}

}  // namespace
}  // namespace kor::util
