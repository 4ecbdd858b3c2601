// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <thread>

#include "common/condition.h"
#include "common/mutex.h"
#include "kutil/lock_ranks.h"

namespace kor::util {

// One thread that calls back when descriptors have something to read (or their far end is gone). It starts with the
// first descriptor, takes the signal mask of whoever adds that (a program started from a callback inherits it), and
// stays. It sleeps, without any periodic wake-up, until a descriptor is ready.
//
// Thread safety: all operations may be called from any thread, callbacks included. Callbacks run one at a time, with no
// lock of the loop held; what they throw is logged.
//
// Ownership: it lives as long as the process, because its thread does.
class FdLoop {
 public:
  using Callback = std::function<void()>;

  // Calls `cb` whenever `fd` is readable; a callback already there for `fd` is replaced, without waiting for one that
  // is running. A failure (a descriptor that cannot be watched, no thread) is logged and changes nothing.
  void Add(int fd, Callback cb) KOR_EXCLUDES(mutex_);

  // Returns once the callback of `fd` is not running, never runs again and the one added last has been destroyed; from
  // inside a callback at once. An `fd` that is not watched is no error.
  void Remove(int fd) KOR_EXCLUDES(mutex_);

 private:
  // A descriptor and its callback. The token is never used twice: an event of a descriptor that was removed, closed and
  // opened anew under the same number reaches nobody.
  struct Watch {
    int fd;
    Callback cb;
    uint64_t token = 0;
    Condition finished;  // Signalled when the callback has returned; each waiter wakes the next.
  };

  bool WatchLocked(std::shared_ptr<Watch>& watch) KOR_REQUIRES(mutex_);
  bool StartLocked() KOR_REQUIRES(mutex_);
  void AwaitCallbackLocked(int fd) KOR_REQUIRES(mutex_);
  void Main(int epoll_fd);
  std::shared_ptr<Watch> BeginCallback(uint64_t token) KOR_EXCLUDES(mutex_);
  void EndCallback() KOR_EXCLUDES(mutex_);

  Mutex mutex_{rank::kUtility};
  int epoll_fd_ KOR_GUARDED_BY(mutex_) = -1;       // -1 until something is added.
  std::thread::id thread_ KOR_GUARDED_BY(mutex_);  // Nobody's until then.
  uint64_t last_token_ KOR_GUARDED_BY(mutex_) = 0;
  std::map<int, std::shared_ptr<Watch>> watches_ KOR_GUARDED_BY(mutex_);  // By descriptor.
  std::shared_ptr<Watch> running_ KOR_GUARDED_BY(mutex_);                 // Not null iff its callback is running.
};

}  // namespace kor::util
