// SPDX-License-Identifier: Apache-2.0
// Connect, disconnect and their wait, and the choice of a policy for a profile number.
#include <sys/time.h>

#include <ctime>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "common/log.h"
#include "common/mutex.h"
#include "common/util/misc.h"
#include "common/vendor/qcmap_wrapper.h"
#include "lock_ranks.h"
#include "wwan/data_manager.h"
#include "wwan/dns_ctrl_manager.h"

namespace kor::wwan {

namespace {

using kor::util::EventDic;
using kor::util::IPFamily;
using ConnectStatus = DataManager::ConnectStatus;

// Profile numbers that a new PDN may be given.
constexpr int kFirstProfileCandidate = 1;
constexpr int kLastProfileCandidate = 24;

[[maybe_unused]] constexpr char kWaitInCallback[] =
    "a callback waits for a call, on the thread that the call's events come from: connect without waiting, or on "
    "another thread";

std::set<int> ProfileCandidates() {
  std::set<int> candidates;
  for (int p = kFirstProfileCandidate; p <= kLastProfileCandidate; ++p) candidates.insert(p);
  return candidates;
}

// The state that counts for one family; kNone for what is no family.
ConnectStatus StatusOf(IPFamily ip_family, ConnectStatus ipv4, ConnectStatus ipv6) {
  if (ip_family == IPFamily::kIpv4) return ipv4;
  if (ip_family == IPFamily::kIpv6) return ipv6;
  return ConnectStatus::kNone;
}

bool CarriesProfile(const DataManager::WwanPolicy& policy, IPFamily ip_family, int cid) {
  return (ip_family == IPFamily::kIpv4 && policy.profile_1 == cid) ||
         (ip_family == IPFamily::kIpv6 && policy.profile_2 == cid);
}

bool IsIdle(const DataManager::WwanStatus& status) {
  return status.ipv4_status == ConnectStatus::kDisconnected && status.ipv6_status == ConnectStatus::kDisconnected;
}

// The index of a new policy, with the smallest profile number that is free.
std::optional<uint32_t> CreatePdnWith(DataManager& data, const std::set<int>& candidates) {
  if (candidates.empty()) return std::nullopt;
  const auto profile = static_cast<uint8_t>(*candidates.begin());  // For now: the caller sets the one it wants.
  if (!data.CreatePdn(Tech::kAny, IPFamily::kBoth, profile, profile)) return std::nullopt;
  std::vector<DataManager::WwanPolicy> policies;
  if (!data.GetWwanPolicies(policies) || policies.empty()) return std::nullopt;
  return static_cast<uint32_t>(policies.size() - 1);  // The wrapper appends, and tells no index.
}

// For the log line alone, which people hold against other logs. The wait itself goes by the monotonic clock.
double WallClockSeconds() {
  timeval now{};
  gettimeofday(&now, nullptr);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) / 1e6;
}

// The key of one wait's subscription: a small number, distinct from that of every other wait of the process and, being
// small, from every object's address. Not `this`: the object may have a subscription of its program's in the same
// table.
class WaitKey {
 public:
  // The wished number when it is free, else the next one that is.
  explicit WaitKey(uint32_t wished) : number_(wished) {
    Taken& taken = TheTaken();
    kor::util::MutexLock lock(taken.mutex);
    while (!taken.numbers.insert(number_).second) ++number_;
  }
  ~WaitKey() {
    Taken& taken = TheTaken();
    kor::util::MutexLock lock(taken.mutex);
    taken.numbers.erase(number_);
  }
  WaitKey(const WaitKey&) = delete;
  WaitKey& operator=(const WaitKey&) = delete;

  void* get() const { return reinterpret_cast<void*>(static_cast<uintptr_t>(number_)); }

 private:
  struct Taken {
    kor::util::Mutex mutex{rank::kWaitKeys};
    std::set<uint32_t> numbers KOR_GUARDED_BY(mutex);
  };

  // Never destroyed: a wait may still run on another thread while the process exits.
  static Taken& TheTaken() {
    static Taken& taken = *new Taken;
    return taken;
  }

  uint32_t number_;
};

// The entry of one wait in the wrapper's table, from construction to destruction.
class WaitSubscription {
 public:
  WaitSubscription(kor::util::EventCbMap& table, uint32_t wished_key, kor::util::EventCbMap::Callback cb)
      : table_(table), key_(wished_key) {
    table_.Add(key_.get(), std::move(cb));
  }
  ~WaitSubscription() { table_.Remove(key_.get()); }
  WaitSubscription(const WaitSubscription&) = delete;
  WaitSubscription& operator=(const WaitSubscription&) = delete;

 private:
  kor::util::EventCbMap& table_;
  const WaitKey key_;
};

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
  // Up takes two confirmations, in either order: the modem's, and that of the DNS service, whose event names no call:
  // the server list is one for all of them. A program that connects to a name at once finds its server.
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

kor::Result DataManager::Connect(uint32_t index, kor::util::IPFamily ip_family, bool wait) {
  if (wait) kor::util::lock_order::RefuseInCallback(kWaitInCallback);
  if (ip_family == IPFamily::kBoth) return kor::Result::kFailure;
  ConnectStatus ipv4{};
  ConnectStatus ipv6{};
  if (!GetConnectStatus(index, ipv4, ipv6)) return kor::Result::kFailure;
  const ConnectStatus status = StatusOf(ip_family, ipv4, ipv6);
  if (status == ConnectStatus::kConnected) return kor::Result::kSuccess;
  // Somebody else's request is under way: its events could not be told from this one's.
  if (status == ConnectStatus::kConnecting || status == ConnectStatus::kDisconnecting) return kor::Result::kFailure;

  DnsCtrlManager dns_ctrl_manager;  // Keeps the DNS service alive for the length of the call.
  if (!wait) return qcmap_->ConnectBackhaul(index, ip_family);

  // Subscribed before the request, as its answer may come at once. Declared in this order: at the end the subscriptions
  // go first, and then the reference, whose end may stop the service and wait for its callbacks.
  DiscardEvents();
  const auto queue_event = [this](kor::util::EventDic& ev) { EventCb(ev); };
  const WaitSubscription subscription(qcmap_->event_cbs, ins_no_, queue_event);
  dns_ctrl_manager.SetEventCb(queue_event);
  kor::Result result = qcmap_->ConnectBackhaul(index, ip_family);
  KOR_LOG(LOG_DEBUG, "Before wait event\n");
  const double start = WallClockSeconds();
  if (result == kor::Result::kSuccess) result = WaitEvent(index, ip_family, true);
  KOR_LOG(LOG_DEBUG, "After wait event [%f]\n", WallClockSeconds() - start);
  return result;
}

kor::Result DataManager::Disconnect(uint32_t index, kor::util::IPFamily ip_family, bool wait) {
  if (wait) kor::util::lock_order::RefuseInCallback(kWaitInCallback);
  if (ip_family == IPFamily::kBoth) return kor::Result::kFailure;
  ConnectStatus ipv4{};
  ConnectStatus ipv6{};
  if (!GetConnectStatus(index, ipv4, ipv6)) return kor::Result::kFailure;
  if (StatusOf(ip_family, ipv4, ipv6) == ConnectStatus::kDisconnected) return kor::Result::kSuccess;
  std::vector<WwanStatus> statuses;  // Nothing in it counts, only that it can be read.
  if (!GetWwanStatuses(statuses)) {
    KOR_LOG(LOG_ERR, "Cannot get wwan statuses");
    return kor::Result::kFailure;
  }
  if (!wait) return qcmap_->DisconnectBackhaul(index, ip_family);

  DiscardEvents();
  const WaitSubscription subscription(qcmap_->event_cbs, ins_no_, [this](kor::util::EventDic& ev) { EventCb(ev); });
  const kor::Result result = qcmap_->DisconnectBackhaul(index, ip_family);
  if (result != kor::Result::kSuccess) return result;
  return WaitEvent(index, ip_family, false);
}

kor::Result DataManager::ConnectWithCid(int cid, kor::util::IPFamily ip_family, bool wait) {
  std::set<int> candidates = ProfileCandidates();
  std::vector<WwanStatus> statuses;
  if (!GetWwanStatuses(statuses)) return kor::Result::kFailure;

  // The first policy that carries the profile, or could, decides: an idle one in front is given the profile although a
  // later one has it, so the answer hangs on the order that the program made, not on what else is up.
  std::optional<uint32_t> index;
  bool set_policy = false;
  for (uint32_t i = 0; i < statuses.size() && !index; ++i) {
    const WwanStatus& status = statuses[i];
    candidates.erase(status.policy.profile_1);
    candidates.erase(status.policy.profile_2);
    if (CarriesProfile(status.policy, ip_family, cid)) {
      if (StatusOf(ip_family, status.ipv4_status, status.ipv6_status) == ConnectStatus::kConnected) {
        return kor::Result::kSuccess;
      }
      index = i;
    } else if (IsIdle(status)) {
      index = i;
      set_policy = true;
    }
  }
  if (!index) {
    index = CreatePdnWith(*this, candidates);
    if (!index) return kor::Result::kFailure;
    set_policy = true;
  }

  KOR_LOG(LOG_DEBUG, "before call SetPolicy ip_family %d cid %d set_policy %d\n", static_cast<int>(ip_family), cid,
          set_policy ? 1 : 0);
  // The profile stands first for IPv6, too: one that is given alone serves the family that the policy has.
  if (set_policy && !SetPolicy(*index, Tech::kAny, ip_family, cid, -1)) return kor::Result::kFailure;
  return Connect(*index, ip_family, wait);
}

// -- The wait: publishers' threads queue events, the waiting thread drains them ---------------------------------------

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
  // What has arrived is taken even when the time is up: it was in time, only this thread was late.
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
  const int target_handle = policies[index].handle;  // Events name the call by it: an index moves when one is deleted.

  CallOutcome outcome(for_connect);
  Stopwatch stopwatch;
  int64_t remaining_us = wait_budget_us_;
  for (bool first = true;; first = false) {
    // One budget for all events: those of other calls must not stretch the wait.
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
