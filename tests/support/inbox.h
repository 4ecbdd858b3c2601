// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "common/condition.h"
#include "common/mutex.h"
#include "support/wait.h"

namespace kor::test {

// Things that several threads put in and a test takes out, step by step.
template <typename Thing>
class Inbox {
 public:
  void Add(Thing thing) {
    kor::util::MutexLock lock(mutex_);
    things_.push_back(std::move(thing));
    cond_.Signal();
  }

  // Waits until there are so many things and takes them all; fewer when that takes too long.
  std::vector<Thing> Take(size_t count) {
    kor::util::MutexLock lock(mutex_);
    AwaitLocked(count);
    return std::exchange(things_, {});
  }

  // The oldest one, waited for; `otherwise` when none comes.
  Thing Next(Thing otherwise) {
    kor::util::MutexLock lock(mutex_);
    if (!AwaitLocked(1)) return otherwise;
    Thing thing = std::move(things_.front());
    things_.erase(things_.begin());
    return thing;
  }

 private:
  bool AwaitLocked(size_t count) KOR_REQUIRES(mutex_) {
    constexpr int64_t kLimitUs = std::chrono::microseconds(kLongEnough).count();
    while (things_.size() < count) {
      if (cond_.WaitUntil(mutex_, kLimitUs) == kor::Result::kTimeout) return false;
    }
    return true;
  }

  kor::util::Mutex mutex_;
  kor::util::Condition cond_;
  std::vector<Thing> things_ KOR_GUARDED_BY(mutex_);
};

}  // namespace kor::test
