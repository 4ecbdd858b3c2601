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

// One thread that calls back when descriptors have something to read (or their far end is gone). The thread, and the
// two descriptors it needs itself, exist only while something is watched. Its signal mask is
// that of whoever added the first one (a program started from a callback inherits it). It sleeps, without any periodic
// wake-up, until a descriptor is ready.
//
// Thread safety: all operations may be called from any thread, callbacks included. Callbacks run one at a time, with no
// lock of the loop held; what they throw is logged.
//
// Ownership: through std::shared_ptr; the thread holds one too, so a callback may let go of the last other one.
// Requires: everything that was added is removed before the owner lets go.
class FdLoop : public std::enable_shared_from_this<FdLoop> {
 public:
  using Callback = std::function<void()>;

  // `thread_name` is what process listings show, at most 15 characters.
  explicit FdLoop(const char* thread_name) : thread_name_(thread_name) {}

  // Calls `cb` whenever `fd` is readable; a callback already there for `fd` is replaced, without waiting for one that
  // is running. Failures (a descriptor that cannot be watched, no resources) are logged and leave `fd` unwatched.
  void Add(int fd, Callback cb) KOR_EXCLUDES(mutex_);

  // Returns once the callback of `fd` is not running, never runs again and has been destroyed; after the last
  // descriptor's removal the thread is gone, too. The thread ends by itself, a little later, when that last call comes
  // from inside a callback (where Remove() always returns at once) or while the callback of another descriptor, removed
  // elsewhere, is still running. An `fd` that is not watched is no error.
  void Remove(int fd) KOR_EXCLUDES(mutex_);

 private:
  // A descriptor and its callback. The token is never used twice: an event of a descriptor that was removed, closed and
  // opened anew under the same number reaches nobody.
  struct Watch {
    uint64_t token;
    int fd;
    Callback cb;
    Condition finished;  // Signalled when the callback has returned; each waiter wakes the next.
  };

  // One life of the thread. All members are guarded by the loop's mutex, except that the thread itself reads epoll_fd.
  struct Run {
    int epoll_fd = -1;
    int wake_fd = -1;  // An eventfd: written to make the thread look whether it is still needed.
    std::thread thread;
    int joiners = 0;      // Callers of Remove() that will join the thread if it ends.
    bool ended = false;   // The thread runs no more callbacks and has closed the descriptors.
    Condition may_leave;  // Signalled for the joiners: ended, or needed again; each waiter wakes the next.
  };

  bool WatchLocked(std::shared_ptr<Watch>& watch) KOR_REQUIRES(mutex_);
  bool StartLocked() KOR_REQUIRES(mutex_);
  std::shared_ptr<Watch> TakeLocked(int fd) KOR_REQUIRES(mutex_);
  void AwaitCallbackLocked(int fd) KOR_REQUIRES(mutex_);
  std::thread AwaitEndLocked() KOR_REQUIRES(mutex_);

  void Main(const std::shared_ptr<Run>& run);
  void Dispatch(uint64_t token) KOR_EXCLUDES(mutex_);
  bool EndIfIdle(Run& run) KOR_EXCLUDES(mutex_);

  const char* const thread_name_;

  Mutex mutex_{rank::kUtility};
  uint64_t last_token_ KOR_GUARDED_BY(mutex_) = 0;
  std::map<uint64_t, std::shared_ptr<Watch>> watches_ KOR_GUARDED_BY(mutex_);  // By token.
  std::shared_ptr<Watch> running_ KOR_GUARDED_BY(mutex_);                      // Not null iff its callback is running.
  std::shared_ptr<Run> run_ KOR_GUARDED_BY(mutex_);                            // Not null iff the thread takes watches.
};

}  // namespace kor::util
