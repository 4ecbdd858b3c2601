// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

#include "common/thread_annotations.h"

namespace kor::util {

// One POSIX mutex with default attributes: not recursive. Take it through MutexLock; Lock() and Unlock() are for the
// wrappers of this folder.
class KOR_CAPABILITY("mutex") Mutex {
 public:
  Mutex() = default;
  ~Mutex() { pthread_mutex_destroy(&mutex_); }
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void Lock() KOR_ACQUIRE() { pthread_mutex_lock(&mutex_); }
  void Unlock() KOR_RELEASE() { pthread_mutex_unlock(&mutex_); }

 private:
  friend class Condition;
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
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
