// SPDX-License-Identifier: Apache-2.0
// What the benchmarks share: clock, medians, pinning, and the flag that all hand-offs are compared with.
#pragma once

#include <pthread.h>
#include <sched.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <ctime>
#include <mutex>
#include <vector>

namespace kor::bench {

// Nanoseconds of the monotonic clock.
inline double NowNs() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<double>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

// Nanoseconds of processor time that the calling thread has had: for work that waits for nothing, what the clock says
// on a machine that does nothing else.
inline double ThreadCpuNs() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

// The value below which the share `q` of the samples lies. Requires: samples is not empty; 0 <= q < 1.
inline double Quantile(std::vector<double> samples, double q) {
  std::sort(samples.begin(), samples.end());
  return samples[static_cast<size_t>(q * static_cast<double>(samples.size()))];
}

inline double Median(std::vector<double> samples) { return Quantile(std::move(samples), 0.5); }

// Appends for each of `batches` batches what one of its `batch` calls took, in nanoseconds. Batches are to be small:
// whatever else runs on the machine then spoils a few of them, and not the median.
template <typename Call>
void TimeCalls(int batches, int batch, Call call, std::vector<double>& samples) {
  for (int i = 0; i < batches; ++i) {
    const double start = NowNs();
    for (int k = 0; k < batch; ++k) call();
    samples.push_back((NowNs() - start) / batch);
  }
}

// The processors that this process may run on, in order. Call it before anything is pinned.
inline std::vector<int> AllowedCpus() {
  cpu_set_t set;
  CPU_ZERO(&set);
  sched_getaffinity(0, sizeof(set), &set);
  std::vector<int> cpus;
  for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
    if (CPU_ISSET(cpu, &set)) cpus.push_back(cpu);
  }
  return cpus;
}

// Keeps the calling thread on one processor; threads that it starts inherit that.
inline void PinTo(int cpu) {
  cpu_set_t set;
  CPU_ZERO(&set);
  CPU_SET(cpu, &set);
  pthread_setaffinity_np(pthread_self(), sizeof(set), &set);
}

// The bare hand-off: a count under a mutex, and a condition that is signalled after the unlock. One waiter.
class Flag {
 public:
  void Post() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      ++posted_;
    }
    condition_.notify_one();
  }

  // Takes one post, which it waits for.
  void Await() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (posted_ == 0) condition_.wait(lock);
    --posted_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable condition_;
  int posted_ = 0;
};

}  // namespace kor::bench
