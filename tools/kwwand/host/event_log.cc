// SPDX-License-Identifier: Apache-2.0
#include "kwwand/host/event_log.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kor::host {

namespace {

constexpr size_t kCapacity = 1000;

}  // namespace

void EventLog::Append(Source source, kor::util::EventDic& event, std::vector<std::string> servers) {
  std::list<SeenEvent> seen(1);  // Made before the lock, spliced in under it; what is pushed out goes after it.
  seen.front() = {source, event, std::move(servers), std::chrono::steady_clock::now(),
                  std::chrono::system_clock::now()};
  seen.front().event.data = nullptr;
  const bool dns = source == Source::kDns && event.event == kor::util::kEvtDnsUpdated;
  std::list<SeenEvent> pushed_out;
  kor::util::MutexLock lock(mutex_);
  if (dns) dns_updates_ = {dns_updates_.count + 1, seen.front().at};
  events_.splice(events_.end(), seen);
  ++next_;
  if (events_.size() > kCapacity) pushed_out.splice(pushed_out.end(), events_, events_.begin());
  cond_.Signal();
}

uint64_t EventLog::Next() const {
  kor::util::MutexLock lock(mutex_);
  return next_;
}

std::vector<SeenEvent> EventLog::Since(uint64_t& from, uint64_t* lost) const {
  kor::util::MutexLock lock(mutex_);
  const uint64_t oldest = next_ - events_.size();
  const uint64_t first = std::min(std::max(from, oldest), next_);
  if (lost != nullptr) *lost = first > from ? first - from : 0;
  from = next_;
  const auto begin = std::next(events_.begin(), static_cast<std::ptrdiff_t>(first - oldest));
  return {begin, events_.end()};
}

bool EventLog::Wait(uint64_t from, std::chrono::microseconds limit) {
  kor::util::MutexLock lock(mutex_);
  const auto end = std::chrono::steady_clock::now() + limit;
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(end - std::chrono::steady_clock::now());
    const bool over = left.count() <= 0 || std::exchange(rung_, false);
    if (over || next_ > from) return over;
    (void)cond_.WaitUntil(mutex_, left.count());  // The loop looks at the time itself.
  }
}

void EventLog::Ring() {
  kor::util::MutexLock lock(mutex_);
  rung_ = true;
  cond_.Signal();
}

EventLog::DnsUpdates EventLog::dns_updates() const {
  kor::util::MutexLock lock(mutex_);
  return dns_updates_;
}

}  // namespace kor::host
