// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

#include <cstdint>
#include <string>

#include "common/mutex.h"
#include "common/result.h"

namespace kor::util {

// One POSIX condition variable on CLOCK_MONOTONIC, so that setting the wall clock never shortens or stretches a wait.
// Wake-ups may be spurious: wait in a loop that looks at the guarded state again.
class Condition {
 public:
  Condition();
  ~Condition();
  Condition(const Condition&) = delete;
  Condition& operator=(const Condition&) = delete;

  // Wakes one waiter, if there is one.
  void Signal();

  // Releases `m` while waiting and holds it again on return.
  void Wait(Mutex& m) KOR_REQUIRES(m);

  // The same for at most `timeout_us` microseconds: kTimeout when they have passed, else kSuccess.
  // Requires: timeout_us > 0.
  kor::Result WaitUntil(Mutex& m, int64_t timeout_us) KOR_REQUIRES(m);

  // When not empty, every WaitUntil() writes it to the kernel log first. It travels through the shell: a name is a
  // word chosen by the code that owns the condition, never text from outside.
  std::string name_;

 private:
  pthread_cond_t cond_;
};

// `now` plus `timeout_us` microseconds, normalised to nanoseconds below one second.
timespec DeadlineAfter(timespec now, int64_t timeout_us);

}  // namespace kor::util
