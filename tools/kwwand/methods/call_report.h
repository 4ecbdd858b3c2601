// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "common/mutex.h"
#include "kwwand/host/call_watch.h"
#include "kwwand/lock_ranks.h"
#include "kwwand/methods/explain.h"

namespace kor::host {

// A request to bring a call up or down while it runs: collects the story, and tells each step to `progress` (when not
// empty) as it happens, on whatever thread; not after Finish().
class CallReport {
 public:
  // The story starts now. `log` and `watch` outlive this.
  CallReport(EventLog& log, CallWatch& watch, CallStory story, std::function<void(const Json&)> progress);
  ~CallReport();
  CallReport(const CallReport&) = delete;
  CallReport& operator=(const CallReport&) = delete;

  // The policy turned out to be this one.
  void Serve(uint32_t index, int32_t handle) KOR_EXCLUDES(mutex_);

  // The story with its end, whose time is set to now.
  CallStory Finish(CallStory::End end) KOR_EXCLUDES(mutex_);

 private:
  void TellNew() KOR_EXCLUDES(mutex_);
  void TellNewLocked() KOR_REQUIRES(mutex_);

  EventLog& log_;
  CallWatch& watch_;
  const std::function<void(const Json&)> progress_;
  kor::util::Mutex mutex_{rank::kCallReport};
  CallStory story_ KOR_GUARDED_BY(mutex_);
  uint64_t from_ KOR_GUARDED_BY(mutex_);
  size_t told_ KOR_GUARDED_BY(mutex_) = 0;
  uint64_t listener_;
};

}  // namespace kor::host
