// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <thread>

#include "common/condition.h"
#include "common/export.h"
#include "common/mutex.h"
#include "port/lock_ranks.h"

namespace kor::modem {

// The modem's clock: runs each event at its time, one by one, on one thread of its own, in order of time; events of the
// same time in the order in which they were posted. The thread sleeps until the next event is due, and without any
// wake-up when there is none. It takes no signals of the process.
//
// Thread safety: all operations may be called from any thread, events included. No lock is held while an event runs;
// an event must not throw.
//
// Lifetime: never destroyed. The thread is alive until the process ends.
class KOR_EXPORT EventThread {
 public:
  using Event = std::function<void()>;

  // Throws std::system_error when the thread cannot be started.
  EventThread();

  // Runs `event` when `delay` has passed; a negative delay is none.
  void Post(std::chrono::milliseconds delay, Event event) KOR_EXCLUDES(mutex_);

  // True as soon as no event is waiting or running; false when `limit` passes first, and at once on this thread itself.
  bool WaitIdle(std::chrono::milliseconds limit) KOR_EXCLUDES(mutex_);

 private:
  [[noreturn]] void Run();
  Event Next() KOR_EXCLUDES(mutex_);
  bool IdleLocked() const KOR_REQUIRES(mutex_) { return queue_.empty() && !running_; }

  kor::util::Mutex mutex_{rank::kModemQueue};
  kor::util::Condition work_cond_;  // Signalled when the first event changes; the thread is the one waiter.
  kor::util::Condition idle_cond_;  // Signalled when it becomes idle; a waiter that sees it wakes the next one.
  std::multimap<int64_t, Event> queue_ KOR_GUARDED_BY(mutex_);  // By time, microseconds of CLOCK_MONOTONIC.
  bool running_ KOR_GUARDED_BY(mutex_) = false;                 // An event is being run.
  std::thread thread_;                                          // Constant after construction.
};

}  // namespace kor::modem
