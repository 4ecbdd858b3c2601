// SPDX-License-Identifier: Apache-2.0
// The wait of a connect or disconnect: publishers' threads queue events, the waiting thread drains them.
#include <ctime>
#include <string>
#include <utility>

#include "common/log.h"
#include "common/util/misc.h"
#include "wwan/data_manager.h"

namespace kor::wwan {

namespace {

using kor::util::EventDic;

// Microseconds from one reading of the monotonic clock to the next.
class Stopwatch {
 public:
  Stopwatch() { clock_gettime(CLOCK_MONOTONIC, &last_); }

  int64_t Lap() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const int64_t ns = (now.tv_sec - last_.tv_sec) * int64_t{1'000'000'000} + (now.tv_nsec - last_.tv_nsec);
    last_ = now;
    return ns / 1000;
  }

 private:
  timespec last_{};
};

bool IsCallEvent(uint32_t event) {
  return event >= kor::util::kEvtWwanConnected && event <= kor::util::kEvtWwanDisconnectFailed;
}

// Whether an event's kParamIpFamily is that of the call; a family that is neither takes any text.
bool IsOfFamily(EventDic& ev, kor::util::IPFamily ip_family) {
  if (ip_family == kor::util::IPFamily::kIpv4) return ev.GetParam(EventDic::kParamIpFamily) == "4";
  if (ip_family == kor::util::IPFamily::kIpv6) return ev.GetParam(EventDic::kParamIpFamily) == "6";
  return true;
}

// What the events of one call, taken one by one, amount to.
class CallOutcome {
 public:
  explicit CallOutcome(bool for_connect) : for_connect_(for_connect) {}

  void Apply(uint32_t event) { for_connect_ ? ApplyToConnect(event) : ApplyToDisconnect(event); }

  bool known() const { return known_; }
  kor::Result result() const { return result_; }

 private:
  // Up takes two confirmations, in either order: the modem's and the DNS forwarder's.
  void ApplyToConnect(uint32_t event) {
    connected_ = connected_ || event == kor::util::kEvtWwanConnected;
    dns_updated_ = dns_updated_ || event == kor::util::kEvtDnsUpdated;
    if (connected_ && dns_updated_) Stop(kor::Result::kSuccess);
    if (event == kor::util::kEvtWwanConnectFailed) Stop(kor::Result::kFailure);
  }

  void ApplyToDisconnect(uint32_t event) {
    if (event == kor::util::kEvtWwanDisconnected) Stop(kor::Result::kSuccess);
    if (event == kor::util::kEvtWwanDisconnectFailed) Stop(kor::Result::kFailure);
  }

  void Stop(kor::Result result) {
    result_ = result;
    known_ = true;
  }

  const bool for_connect_;
  bool connected_ = false;
  bool dns_updated_ = false;
  bool known_ = false;
  kor::Result result_ = kor::Result::kFailure;
};

}  // namespace

void DataManager::EventCb(kor::util::EventDic& ev) {
  std::list<EventDic> copy(1, ev);  // Made before the lock, spliced in under it.
  kor::util::MutexLock lock(mutex_);
  events_.splice(events_.end(), copy);
  // Under the lock: once it is let go, the wait may end and its object with it.
  if (events_.size() == 1) cond_.Signal();
}

void DataManager::DiscardEvents() {
  std::list<EventDic> discarded;
  kor::util::MutexLock lock(mutex_);
  discarded.swap(events_);
}

DataManager::Popped DataManager::PopEvent(int64_t remaining_us, std::list<kor::util::EventDic>& popped) {
  kor::util::MutexLock lock(mutex_);
  if (events_.empty()) {
    if (remaining_us <= 0) return Popped::kTimeout;
    if (cond_.WaitUntil(mutex_, remaining_us) == kor::Result::kTimeout) return Popped::kTimeout;
    if (events_.empty()) return Popped::kNothing;
  }
  popped.splice(popped.end(), events_, events_.begin());
  return Popped::kEvent;
}

kor::Result DataManager::WaitEvent(uint32_t index, kor::util::IPFamily ip_family, bool for_connect) {
  std::vector<WwanPolicy> policies;
  if (!GetWwanPolicies(policies)) {
    KOR_LOG(LOG_ERR, "Cannot get GetWwanPolicies\n");
    return kor::Result::kFailure;
  }
  if (index >= policies.size()) return kor::Result::kFailure;
  const int target_handle = policies[index].handle;

  CallOutcome outcome(for_connect);
  Stopwatch stopwatch;
  int64_t remaining_us = wait_budget_us_;
  for (bool first = true;; first = false) {
    if (!first) remaining_us -= stopwatch.Lap();
    std::list<EventDic> popped;
    const Popped what = PopEvent(remaining_us, popped);
    if (what == Popped::kTimeout) return outcome.result();
    if (what == Popped::kNothing) continue;  // Woken for nothing: the budget is looked at again.

    EventDic& ev = popped.front();
    KOR_LOG(LOG_DEBUG, "GOT event [0x%x]\n", ev.event);
    bool matches = true;
    if (IsCallEvent(ev.event)) {
      bool error = false;
      const int handle = kor::util::Misc::StoiWithException(ev.GetParam(EventDic::kParamHandle), error);
      matches = !error && handle == target_handle && IsOfFamily(ev, ip_family);
      if (!error && handle != target_handle) {
        KOR_LOG(LOG_DEBUG, "target handle is [%d], but event handle is [%d]\n", target_handle, handle);
      }
    }
    if (matches) outcome.Apply(ev.event);
    if (outcome.known() || remaining_us <= 0) return outcome.result();
  }
}

}  // namespace kor::wwan
