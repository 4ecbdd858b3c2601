// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <list>
#include <thread>
#include <vector>

#include "common/condition.h"
#include "common/mutex.h"
#include "kwwand/lock_ranks.h"

namespace kor::host {

// Runs jobs in the order in which they come, on threads of its own: one more, up to a limit, whenever a job comes and
// no thread is idle. With one thread, one job at a time.
//
// Thread safety: Submit() and Stop() are called by one thread.
class Workers {
 public:
  // At most `max_jobs` run or wait to be run.
  Workers(size_t max_threads, size_t max_jobs) : max_threads_(max_threads), max_jobs_(max_jobs) {}

  // Waits for jobs that run.
  ~Workers();
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  // False, and the job is not taken, when there are too many, or no thread can be had. Requires: the job throws
  // nothing.
  bool Submit(std::function<void()> job) KOR_EXCLUDES(mutex_);

  // Forgets the jobs that do not run yet and gives the others so much time. True when none runs any more. When one
  // does, its thread is left to itself, and this object must never be destroyed. From now on no job is taken.
  bool Stop(std::chrono::microseconds patience) KOR_EXCLUDES(mutex_);

 private:
  void Work() KOR_EXCLUDES(mutex_);
  bool AwaitIdle(std::chrono::steady_clock::time_point end) KOR_EXCLUDES(mutex_);
  bool AddThread() KOR_REQUIRES(mutex_);

  const size_t max_threads_;
  const size_t max_jobs_;

  kor::util::Mutex mutex_{rank::kWorkers};
  kor::util::Condition job_cond_;   // A job, or the end; whoever sees the end passes it on.
  kor::util::Condition idle_cond_;  // No job runs; Stop() waits for it.
  std::list<std::function<void()>> jobs_ KOR_GUARDED_BY(mutex_);
  size_t running_ KOR_GUARDED_BY(mutex_) = 0;
  bool stopped_ KOR_GUARDED_BY(mutex_) = false;
  std::vector<std::thread> threads_ KOR_GUARDED_BY(mutex_);
};

}  // namespace kor::host
