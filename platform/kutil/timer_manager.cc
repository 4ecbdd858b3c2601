// SPDX-License-Identifier: Apache-2.0
#include "common/util/timer_manager.h"

#include <pthread.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <map>
#include <system_error>
#include <thread>
#include <utility>

#include "common/condition.h"
#include "common/log.h"
#include "common/mutex.h"
#include "kutil/guarded_call.h"
#include "kutil/lock_ranks.h"
#include "kutil/signals_blocked.h"

namespace kor::util {

namespace {

int64_t NowUs() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * int64_t{1'000'000} + now.tv_nsec / 1000;
}

// So far ahead as there is time; a delay in the past is none.
int64_t DueAfter(int64_t now_us, int64_t delay_us) {
  return now_us + std::clamp<int64_t>(delay_us, 0, INT64_MAX - now_us);
}

}  // namespace

// The tasks of one manager and the thread that runs them. The thread shares ownership, so that a task may destroy the
// manager and with it the last other owner.
class TimerTasks : public std::enable_shared_from_this<TimerTasks> {
 public:
  int Add(int64_t delay_us, std::function<bool(int, void*)> run, void* user_data) KOR_EXCLUDES(mutex_);

  // Returns when no task runs, or at once on the own thread. None runs after that; they go with the last owner.
  void Close() KOR_EXCLUDES(mutex_);

 private:
  struct Task {
    int id;
    int64_t delay_us;
    std::function<bool(int, void*)> run;
    void* user_data;
  };
  using Queue = std::multimap<int64_t, Task>;  // By due time; equal ones in order of arrival.

  bool StartLocked() KOR_REQUIRES(mutex_);
  void Main();
  Queue::node_type AwaitDue() KOR_EXCLUDES(mutex_);
  void RunAgain(Queue::node_type node) KOR_EXCLUDES(mutex_);

  Mutex mutex_{rank::kUtility};
  Condition cond_;  // Signalled when the next thing to do has changed.
  Queue queue_ KOR_GUARDED_BY(mutex_);
  int next_id_ KOR_GUARDED_BY(mutex_) = 0;
  bool closed_ KOR_GUARDED_BY(mutex_) = false;
  std::thread thread_ KOR_GUARDED_BY(mutex_);
};

int TimerTasks::Add(int64_t delay_us, std::function<bool(int, void*)> run, void* user_data) {
  Queue node;
  node.emplace(DueAfter(NowUs(), delay_us), Task{-1, delay_us, std::move(run), user_data});
  MutexLock lock(mutex_);
  if (closed_) return -1;  // From a task that still runs: nothing it adds would ever run.
  if (!thread_.joinable() && !StartLocked()) return -1;
  const int id = next_id_;
  next_id_ = next_id_ == INT_MAX ? 0 : next_id_ + 1;
  node.begin()->second.id = id;
  const auto added = queue_.insert(node.extract(node.begin()));
  if (added == queue_.begin()) cond_.Signal();
  return id;
}

bool TimerTasks::StartLocked() {
  const SignalsBlocked blocked;
  try {
    thread_ = std::thread([self = shared_from_this()] { self->Main(); });
    return true;
  } catch (const std::system_error& e) {
    KOR_LOG(LOG_ERR, "Cannot start the timer thread: %s\n", strerror(e.code().value()));
    return false;
  }
}

void TimerTasks::Close() {
  std::thread ended;
  {
    MutexLock lock(mutex_);
    closed_ = true;
    ended.swap(thread_);
    cond_.Signal();
  }
  if (!ended.joinable()) return;
  if (ended.get_id() == std::this_thread::get_id()) {
    ended.detach();
  } else {
    ended.join();
  }
}

void TimerTasks::Main() {
  pthread_setname_np(pthread_self(), "kutil-timer");
  while (Queue::node_type node = AwaitDue()) {
    Task& task = node.mapped();
    bool again = false;
    GuardedCall([&] { again = task.run(task.id, task.user_data); });
    if (again) RunAgain(std::move(node));
  }
}

// The next task once it is due; nothing when the manager is gone.
TimerTasks::Queue::node_type TimerTasks::AwaitDue() {
  MutexLock lock(mutex_);
  while (!closed_) {
    if (queue_.empty()) {
      cond_.Wait(mutex_);
      continue;
    }
    const int64_t wait_us = queue_.begin()->first - NowUs();
    if (wait_us <= 0) return queue_.extract(queue_.begin());
    (void)cond_.WaitUntil(mutex_, wait_us);  // Whatever ended it: the queue is looked at again.
  }
  return {};
}

void TimerTasks::RunAgain(Queue::node_type node) {
  node.key() = DueAfter(NowUs(), node.mapped().delay_us);
  MutexLock lock(mutex_);
  if (!closed_) queue_.insert(std::move(node));
}

// The manager's pointer is one of several to the tasks: what ends with it, and with its copies, is their work.
TimerManager::TimerManager() {
  auto tasks = std::make_shared<TimerTasks>();
  TimerTasks* const raw = tasks.get();
  tasks_ = std::shared_ptr<TimerTasks>(raw, [tasks = std::move(tasks)](TimerTasks*) { tasks->Close(); });
}

int TimerManager::AddTask(long long delay_us, std::function<bool(int, void*)> task, void* user_data) {
  return tasks_->Add(delay_us, std::move(task), user_data);
}

}  // namespace kor::util
