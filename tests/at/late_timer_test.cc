// SPDX-License-Identifier: Apache-2.0
// The retry timer under a timer manager of the test's, linked in the utility library's place: it fires when it is told
// to, also inside AddTask(), and, unlike the library's own, after its manager's end.
#include <algorithm>

#include "at/at_fixture.h"
#include "common/util/timer_manager.h"
#include "support/no_memory.h"
#include "support/wait.h"

namespace kor::test {
namespace {

struct Timer {
  long long delay_us;
  std::function<bool(int, void*)> task;
  void* user_data;
};

kor::util::Mutex g_mutex;
std::vector<Timer> g_timers KOR_GUARDED_BY(g_mutex);
std::atomic<bool> g_fires_at_once{false};
std::atomic<int> g_failures{0};  // So often there is no memory for a timer.
Record g_added;

std::vector<Timer> TakeTimers() {
  kor::util::MutexLock lock(g_mutex);
  return std::exchange(g_timers, {});
}

}  // namespace
}  // namespace kor::test

namespace kor::util {

class TimerTasks {};

TimerManager::TimerManager() = default;

int TimerManager::AddTask(long long delay_us, std::function<bool(int, void*)> task, void* user_data) {
  using namespace kor::test;
  if (g_failures-- > 0) throw std::bad_alloc();
  if (g_fires_at_once) {
    EXPECT_FALSE(task(0, user_data));
  } else {
    MutexLock lock(g_mutex);
    g_timers.push_back({delay_us, std::move(task), user_data});
  }
  g_added.Add("");
  return 0;
}

}  // namespace kor::util

namespace kor::test {
namespace {

class LateTimerTest : public AtTest {
 protected:
  LateTimerTest() {
    g_fires_at_once = false;
    g_failures = 0;
    (void)TakeTimers();
    (void)g_added.Take(0);
    AtClient::on_request = [this](const std::list<std::string>&) { return answer_.load(); };
  }

  std::atomic<int> answer_{1};
};

TEST_F(LateTimerTest, NamesClaimedBeforeTheStartGoInBatches) {
  Lines expected(3);
  for (int i = 44; i >= 0; --i) Claim(Numbered(i));
  for (int i = 0; i < 45; ++i) expected[static_cast<size_t>(i / 20)] += (i % 20 == 0 ? "" : " ") + Numbered(i);
  EXPECT_EQ(std::vector<int32_t>(45, kor::wwan::kMsgRegister), AtServicePeer::QueuedTypes());
  answer_ = 0;
  AtServicePeer::SetInterval(20s);
  at_->StartService();
  EXPECT_EQ(expected, AtClient::requests.Take(3));
  Lines results = results_.Take(45);
  ASSERT_EQ(45u, results.size());
  EXPECT_TRUE(std::is_sorted(results.begin(), results.end()));
  EXPECT_EQ("+N000 1", results.front());

  // The second batch set the timer; no pass after it finds anything left.
  EXPECT_EQ(1u, g_added.Take(1).size());
  for (const auto& timer : TakeTimers()) EXPECT_FALSE(timer.task(0, nullptr));
  ASSERT_TRUE(Eventually([] { return AtServicePeer::QueuedTypes().empty(); }));
  EXPECT_EQ(-1, AtServicePeer::TimerId());
}

TEST_F(LateTimerTest, OneTimerAtATimeSpacesThePasses) {
  // A pass that leaves nothing does not count.
  answer_ = 0;
  Claim("+R");
  at_->StartService();
  EXPECT_EQ(Lines{"+R"}, AtClient::requests.Take(1));
  EXPECT_EQ(Lines{"+R 1"}, results_.Take(1));
  // The second one of those that do follows at once and sets the timer for what is left of two seconds.
  answer_ = 1;
  Claim("+S");
  EXPECT_EQ((Lines{"+S", "+S"}), AtClient::requests.Take(2));
  EXPECT_EQ(1u, g_added.Take(1).size());
  const Lines times = log_.TakeWith("AtService::ScheduleNextPass()");
  ASSERT_EQ(3u, times.size());
  const long long passed_us = std::stoll(times[1].substr(times[1].find("diff_us [") + 9));
  // Passes that claims bring while it is pending set no second one.
  Claim("+T");
  EXPECT_EQ(Lines{"+S +T"}, AtClient::requests.Take(1));
  at_->StopService();
  auto timers = TakeTimers();
  ASSERT_EQ(1u, timers.size());
  EXPECT_EQ(nullptr, timers[0].user_data);
  EXPECT_EQ(2'000'000, passed_us + timers[0].delay_us);

  // It fires while the service is stopped, again while there is no memory for a message: its pass waits for the next
  // start.
  EXPECT_TRUE([&] {
    const NoMemory none;
    return timers[0].task(0, nullptr);
  }());
  EXPECT_EQ(0, AtServicePeer::TimerId());
  EXPECT_FALSE(timers[0].task(0, nullptr));
  EXPECT_EQ(-1, AtServicePeer::TimerId());
  EXPECT_EQ(std::vector<int32_t>{kor::wwan::kMsgRegister}, AtServicePeer::QueuedTypes());
  g_failures = 1;  // No timer at first: none counts as pending.
  at_->StartService();
  EXPECT_EQ(Lines{"+S +T"}, AtClient::requests.Take(1));
  EXPECT_EQ(1u, g_added.Take(1).size());
}

TEST_F(LateTimerTest, ATimerThatFiresAfterTheEndReachesNobody) {
  Claim("+R");
  at_->StartService();
  EXPECT_EQ(1u, g_added.Take(1).size());
  at_.reset();
  at_ = std::make_unique<AtManager>();
  for (const auto& timer : TakeTimers()) EXPECT_FALSE(timer.task(0, timer.user_data));
  EXPECT_EQ(std::vector<int32_t>{}, AtServicePeer::QueuedTypes());  // Nor the next service.
}

// Regression: a timer that had fired before its number was stored used to count as pending for ever, and the name was
// never tried again.
TEST_F(LateTimerTest, ATimerThatFiresAtOnceIsNotTakenForAPendingOne) {
  Claim("+R");
  g_fires_at_once = true;
  at_->StartService();
  EXPECT_EQ(Lines{"+R 0"}, results_.Take(1));
  EXPECT_EQ(6u, AtClient::requests.Take(6).size());
  EXPECT_EQ(-1, AtServicePeer::TimerId());
}

}  // namespace
}  // namespace kor::test
