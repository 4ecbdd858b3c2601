// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>

#include "common/export.h"

namespace kor::util {

class TimerTasks;

// Runs tasks later. Each manager has one thread of its own, started with the first task; without due tasks it sleeps.
//
// Thread safety: AddTask() may be called from any thread, tasks included. Tasks run one at a time in the order in which
// they fall due, with no lock held; what they throw is logged and ends them.
//
// Destruction is safe at any time: tasks that wait never run, one that runs is waited for (unless it is the task itself
// that destroys the manager), and all of them are destroyed.
class KOR_EXPORT TimerManager {
 public:
  TimerManager();

  // Runs `task(id, user_data)` once `delay_us` microseconds of the monotonic clock have passed, and again so long after
  // it has returned true. The id, distinct from that of every other task of the manager and never negative; -1 when the
  // thread cannot be started, or the manager is being destroyed.
  int AddTask(long long delay_us, std::function<bool(int, void*)> task, void* user_data);

 private:
  std::shared_ptr<TimerTasks> tasks_;
};

}  // namespace kor::util
