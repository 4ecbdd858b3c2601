// SPDX-License-Identifier: Apache-2.0
#include "event_times.h"

namespace kor::demo {

namespace {

using kor::util::EventDic;
using std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience{5};

}  // namespace

void EventTimes::Restart() {
  const std::lock_guard<std::mutex> lock(mutex_);
  started_ = steady_clock::now();
  arrivals_.clear();
}

void EventTimes::Add(EventDic& event) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const double seconds = std::chrono::duration<double>(steady_clock::now() - started_).count();
  arrivals_.insert(
      {event.event, {seconds, event.GetParam(EventDic::kParamHandle), event.GetParam(EventDic::kParamIpFamily)}});
  cond_.notify_all();
}

bool EventTimes::Wait(uint32_t event, Arrival& arrival) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (!cond_.wait_for(lock, kPatience, [&] { return arrivals_.count(event) > 0; })) return false;
  arrival = arrivals_[event];
  return true;
}

}  // namespace kor::demo
