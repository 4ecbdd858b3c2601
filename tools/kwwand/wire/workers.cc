// SPDX-License-Identifier: Apache-2.0
#include "kwwand/wire/workers.h"

#include <system_error>
#include <utility>

namespace kor::host {

Workers::~Workers() { (void)Stop(std::chrono::hours(24)); }

bool Workers::Submit(std::function<void()> job) {
  kor::util::MutexLock lock(mutex_);
  if (stopped_ || running_ + jobs_.size() >= max_jobs_) return false;
  const size_t wanted = running_ + jobs_.size() + 1;
  if (wanted > threads_.size() && threads_.size() < max_threads_ && !AddThread()) return false;
  jobs_.push_back(std::move(job));
  job_cond_.Signal();
  return true;
}

// False when none can be had and none is there. Signals are not blocked in it: what a job starts would inherit that.
bool Workers::AddThread() {
  try {
    threads_.emplace_back([this] { Work(); });
  } catch (const std::system_error&) {
    return !threads_.empty();
  }
  return true;
}

bool Workers::Stop(std::chrono::microseconds patience) {
  const bool idle = AwaitIdle(std::chrono::steady_clock::now() + patience);
  std::vector<std::thread> threads;
  {
    kor::util::MutexLock lock(mutex_);
    threads.swap(threads_);
  }
  for (std::thread& thread : threads) idle ? thread.join() : thread.detach();
  return idle;
}

bool Workers::AwaitIdle(std::chrono::steady_clock::time_point end) {
  kor::util::MutexLock lock(mutex_);
  stopped_ = true;
  jobs_.clear();
  job_cond_.Signal();
  while (running_ > 0) {
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(end - std::chrono::steady_clock::now());
    if (left.count() <= 0) return false;
    (void)idle_cond_.WaitUntil(mutex_, left.count());
  }
  return true;
}

void Workers::Work() {
  for (;;) {
    std::function<void()> job;
    {
      kor::util::MutexLock lock(mutex_);
      while (jobs_.empty() && !stopped_) job_cond_.Wait(mutex_);
      if (stopped_) {
        job_cond_.Signal();
        return;
      }
      job = std::move(jobs_.front());
      jobs_.pop_front();
      ++running_;
    }
    job();
    job = nullptr;
    kor::util::MutexLock lock(mutex_);
    if (--running_ == 0) idle_cond_.Signal();
  }
}

}  // namespace kor::host
