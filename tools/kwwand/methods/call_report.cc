// SPDX-License-Identifier: Apache-2.0
#include "kwwand/methods/call_report.h"

#include <utility>

namespace kor::host {

CallReport::CallReport(EventLog& log, CallWatch& watch, CallStory story, std::function<void(const Json&)> progress)
    : log_(log), watch_(watch), progress_(std::move(progress)), story_(std::move(story)), from_(log.Next()) {
  story_.start = std::chrono::steady_clock::now();
  TellNew();
  listener_ = watch_.Listen([this] { TellNew(); });
}

CallReport::~CallReport() { watch_.Unlisten(listener_); }

void CallReport::Serve(uint32_t index, int32_t handle) {
  kor::util::MutexLock lock(mutex_);
  story_.index = index;
  story_.handle = handle;
}

CallStory CallReport::Finish(CallStory::End end) {
  kor::util::MutexLock lock(mutex_);
  end.at = std::chrono::steady_clock::now();
  TellNewLocked();
  story_.end = std::move(end);
  TellNewLocked();
  return story_;
}

void CallReport::TellNew() {
  kor::util::MutexLock lock(mutex_);
  if (!story_.end) TellNewLocked();
}

void CallReport::TellNewLocked() {
  if (!story_.end) {
    for (SeenEvent& seen : log_.Since(from_)) story_.events.push_back(std::move(seen));
  }
  if (!progress_) return;
  const std::vector<Json> steps = Steps(story_);
  for (; told_ < steps.size(); ++told_) progress_(steps[told_]);
}

}  // namespace kor::host
