// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

#include "common/lock_order.h"
#include "common/thread_annotations.h"

namespace kor::util {

// One POSIX mutex with default attributes: not recursive. Take it through MutexLock; Lock() and Unlock() are for the
// wrappers of this folder. In a debug build of the library a thread that takes one twice, or two against the order of
// their ranks (lock_order.h), ends the process with a sentence that says so.
class KOR_CAPABILITY("mutex") Mutex {
 public:
  Mutex() = default;
  explicit Mutex(LockRank rank) : rank_(rank) {}
  ~Mutex() { pthread_mutex_destroy(&mutex_); }
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void Lock() KOR_ACQUIRE() {
    lock_order::Locking(*this);
    pthread_mutex_lock(&mutex_);
    lock_order::Locked(*this);
  }

  void Unlock() KOR_RELEASE() {
    lock_order::Unlocked(*this);
    pthread_mutex_unlock(&mutex_);
  }

  const LockRank& rank() const { return rank_; }

 private:
  friend class Condition;
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
  const LockRank rank_{};  // In every build, so that what is installed has one layout.
};

// Holds a Mutex for the length of a scope.
class KOR_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) KOR_ACQUIRE(mutex) : mutex_(mutex) { mutex_.Lock(); }
  ~MutexLock() KOR_RELEASE() { mutex_.Unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& mutex_;
};

}  // namespace kor::util
