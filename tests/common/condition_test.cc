// SPDX-License-Identifier: Apache-2.0
#include "common/condition.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

namespace kor::util {
namespace {

TEST(ConditionTest, DeadlineCarriesIntoTheNextSecond) {
  struct {
    timespec now;
    int64_t timeout_us;
    timespec deadline;
  } const cases[] = {
      {{10, 600'000'000}, 1'500'000, {12, 100'000'000}},
      {{10, 0}, 999'999, {10, 999'999'000}},
      {{10, 999'999'999}, 1, {11, 999}},
      {{10, 500'000'000}, 500'000, {11, 0}},
      {{10, 1}, 86'400'000'000, {86'410, 1}},
  };
  for (const auto& c : cases) {
    const timespec got = DeadlineAfter(c.now, c.timeout_us);
    EXPECT_EQ(c.deadline.tv_sec, got.tv_sec) << c.timeout_us;
    EXPECT_EQ(c.deadline.tv_nsec, got.tv_nsec) << c.timeout_us;
  }
}

TEST(ConditionTest, ANamedTimedWaitEndsByTimeNotEarlyAndBySignal) {
  Mutex mutex;
  Condition condition;
  condition.name_ = "dns";  // Its waits are traced to the kernel log.
  bool ready = false;
  MutexLock lock(mutex);
  const auto start = std::chrono::steady_clock::now();
  kor::Result result = kor::Result::kSuccess;
  while (result == kor::Result::kSuccess)
    result = condition.WaitUntil(mutex, 30'000);  // Spurious wake-ups are allowed.
  EXPECT_EQ(kor::Result::kTimeout, result);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));

  std::thread signaller([&] {
    MutexLock signal_lock(mutex);
    ready = true;
    condition.Signal();
  });
  while (!ready) ASSERT_EQ(kor::Result::kSuccess, condition.WaitUntil(mutex, 20'000'000));
  signaller.join();
  std::ifstream kmsg("/dev/kmsg");
  std::stringstream text;
  text << kmsg.rdbuf();
  EXPECT_EQ(0u, text.str().find("kor::Result kor::util::Condition::WaitUntil(kor::util::Mutex&, int64_t) "))
      << text.str();
  EXPECT_NE(std::string::npos, text.str().find(": name dns\n")) << text.str();
}

}  // namespace
}  // namespace kor::util
