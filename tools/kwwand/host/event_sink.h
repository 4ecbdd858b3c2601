// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <utility>

#include "common/mutex.h"
#include "kwwand/lock_ranks.h"
#include "kwwand/wire/method.h"

namespace kor::host {

// The way of events out of the host, which can be shut.
//
// Thread safety: all operations may be called from any thread. Once Close() has returned, nothing is on its way and
// nothing comes any more.
class EventSink {
 public:
  explicit EventSink(std::function<void(const Json&)> sink) : sink_(std::move(sink)) {}

  void Send(const Json& event) KOR_EXCLUDES(mutex_) {
    kor::util::MutexLock lock(mutex_);
    if (sink_) sink_(event);
  }

  void Close() KOR_EXCLUDES(mutex_) {
    kor::util::MutexLock lock(mutex_);
    sink_ = nullptr;
  }

 private:
  kor::util::Mutex mutex_{rank::kEventSink};
  std::function<void(const Json&)> sink_ KOR_GUARDED_BY(mutex_);
};

}  // namespace kor::host
