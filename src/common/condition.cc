// SPDX-License-Identifier: Apache-2.0
#include "common/condition.h"

#include <cerrno>
#include <ctime>

#include "common/kernel_log.h"

namespace kor::util {

namespace {

constexpr int64_t kUsPerSecond = 1'000'000;
constexpr long kNsPerSecond = 1'000'000'000;
constexpr char kWaitUntil[] = "kor::Result kor::util::Condition::WaitUntil(kor::util::Mutex&, int64_t)";

}  // namespace

timespec DeadlineAfter(timespec now, int64_t timeout_us) {
  now.tv_sec += static_cast<time_t>(timeout_us / kUsPerSecond);
  now.tv_nsec += static_cast<long>(timeout_us % kUsPerSecond) * 1000;
  if (now.tv_nsec > kNsPerSecond - 1) {
    now.tv_sec += 1;
    now.tv_nsec -= kNsPerSecond;
  }
  return now;
}

Condition::Condition() {
  pthread_condattr_t attr;
  pthread_condattr_init(&attr);
  pthread_condattr_setclock(&attr, CLOCK_MONOTONIC);
  pthread_cond_init(&cond_, &attr);
  pthread_condattr_destroy(&attr);
}

Condition::~Condition() { pthread_cond_destroy(&cond_); }

void Condition::Signal() { pthread_cond_signal(&cond_); }

void Condition::Wait(Mutex& m) { pthread_cond_wait(&cond_, &m.mutex_); }

kor::Result Condition::WaitUntil(kor::util::Mutex& m, int64_t timeout_us) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  if (!name_.empty()) KOR_KERNEL_LOG_AS(kWaitUntil, "name %s", name_.c_str());
  const timespec deadline = DeadlineAfter(now, timeout_us);
  const int rc = pthread_cond_timedwait(&cond_, &m.mutex_, &deadline);
  return rc == ETIMEDOUT ? kor::Result::kTimeout : kor::Result::kSuccess;
}

}  // namespace kor::util
