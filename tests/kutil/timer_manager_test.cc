// SPDX-License-Identifier: Apache-2.0
#include "common/util/timer_manager.h"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
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

TEST(TimerManagerTest, TasksRunInOrderOfTheirTimesAndNeverEarly) {
  TimerManager timers;
  std::string order;
  Happening last;
  int thing = 0;
  const auto start = Clock::now();
  const auto note = [&](char name, std::chrono::milliseconds not_before, bool is_last = false) {
    return [&order, &last, start, name, not_before, is_last](int, void*) {
      order += name;
      EXPECT_GE(Clock::now() - start, not_before);
      if (is_last) last.Happen();
      return false;
    };
  };
  const int late = timers.AddTask(60'000, note('d', 60ms, true), nullptr);
  const int soon = timers.AddTask(20'000, note('b', 20ms), nullptr);
  const int also = timers.AddTask(20'000, note('c', 20ms), nullptr);
  std::atomic<int> own_id{-1};
  const int now = timers.AddTask(
      -5,
      [&](int id, void* data) {
        own_id = id;
        EXPECT_EQ(&thing, data);
        order += 'a';
        return false;
      },
      &thing);
  EXPECT_EQ((std::vector<int>{0, 1, 2, 3}), (std::vector<int>{late, soon, also, now}));
  ASSERT_TRUE(last.Awaited());
  EXPECT_EQ("abcd", order);
  EXPECT_EQ(now, own_id);
}

TEST(TimerManagerTest, ATaskRunsAgainAsLongAsItSaysSo) {
  test::SyslogReader log;
  TimerManager timers;
  Happening third;
  std::vector<Clock::time_point> times;
  timers.AddTask(
      15'000,
      [&](int id, void*) {
        EXPECT_EQ(0, id);
        times.push_back(Clock::now());
        if (times.size() == 3) third.Happen();
        return times.size() < 3;
      },
      nullptr);
  ASSERT_TRUE(third.Awaited());

  // It is over. One that throws is logged, ends with that, and takes nobody with it.
  std::atomic<int> throws{0};
  timers.AddTask(
      0,
      [&](int, void*) -> bool {
        ++throws;
        throw std::runtime_error("oops");
      },
      nullptr);
  Happening after;
  timers.AddTask(
      30'000,
      [&](int, void*) {
        after.Happen();
        return false;
      },
      nullptr);
  ASSERT_TRUE(after.Awaited());
  ASSERT_EQ(3u, times.size());
  for (size_t i = 1; i < 3; ++i) EXPECT_GE(times[i] - times[i - 1], 15ms);
  EXPECT_EQ(1, throws);
  EXPECT_EQ(1u, log.TakeWith("A callback failed: oops").size());
}

TEST(TimerManagerTest, DestructionDropsWhatWaitsAndAwaitsWhatRuns) {
  const ProcessState before = ProcessState::Now();
  const auto alive = std::make_shared<int>(0);
  auto timers = std::make_unique<TimerManager>();
  EXPECT_TRUE(before.Returns());  // No thread without a task.
  std::atomic<bool> dropped_ran{false};
  for (const long long delay : {300'000'000LL, LLONG_MAX - 1, LLONG_MAX}) {
    timers->AddTask(
        delay, [&dropped_ran, alive](int, void*) { return dropped_ran = true; }, nullptr);
  }
  Happening entered;
  Happening may_end;
  std::atomic<bool> ended{false};
  timers->AddTask(
      0,
      [&, alive](int, void*) {
        entered.Happen();
        EXPECT_TRUE(may_end.Awaited());
        ended = true;
        return true;
      },
      nullptr);
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
  timers->AddTask(
      600'000'000, [alive](int, void*) { return false; }, nullptr);
  timers->AddTask(
      0,
      [&timers, &gone, alive](int, void*) {
        timers->AddTask(
            0, [](int, void*) { return false; }, nullptr);  // Tasks may add tasks, too.
        timers.reset();
        gone.Happen();
        return true;
      },
      nullptr);
  ASSERT_TRUE(gone.Awaited());
  EXPECT_TRUE(before.Returns());
  EXPECT_EQ(1, alive.use_count());
}

TEST(TimerManagerTest, ManyThreadsAddTasksWhileTheyRun) {
  constexpr int kThreads = 4;
  constexpr int kTasks = 500;
  std::vector<std::atomic<int>> runs(kThreads * kTasks);
  std::atomic<int> left{kThreads * kTasks};
  Happening all;
  TimerManager timers;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kTasks; ++i) {
        timers.AddTask((i * 7 + t) % 50 * 100,
                       [&](int id, void*) {
                         ++runs[static_cast<size_t>(id)];
                         if (--left == 0) all.Happen();
                         return false;
                       },
                       nullptr);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  ASSERT_TRUE(all.Awaited());
  for (const auto& count : runs) EXPECT_EQ(1, count);  // Each once, under an id of its own.
}

}  // namespace
}  // namespace kor::util
