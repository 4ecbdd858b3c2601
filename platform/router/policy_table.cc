// SPDX-License-Identifier: Apache-2.0
#include "router/policy_table.h"

#include <algorithm>
#include <list>

#include "common/log.h"

namespace kor::vendor::qcom::qcmap {

namespace {

using kor::modem::CallEvent;
using kor::util::IPFamily;

bool IsOneFamily(IPFamily family) { return family == IPFamily::kIpv4 || family == IPFamily::kIpv6; }

}  // namespace

// The turn to ask the modem for a call: taken and given back by one thread after the other.
class PolicyTable::Turn {
 public:
  explicit Turn(PolicyTable& table) : table_(table) {
    kor::util::MutexLock lock(table_.mutex_);
    while (table_.taken_) table_.turn_cond_.Wait(table_.mutex_);
    table_.taken_ = true;
  }
  ~Turn() {
    kor::util::MutexLock lock(table_.mutex_);
    table_.taken_ = false;
    table_.asked_ = 0;
    table_.turn_cond_.Signal();
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  PolicyTable& table_;
};

PolicyTable::PolicyTable(kor::modem::ModemPort& port, const RouterState& state, Changed changed)
    : port_(port), changed_(std::move(changed)), next_handle_(state.next_handle) {
  for (const PolicyState& kept : state.policies) entries_.push_back({kept, {}, {}});
}

RouterState PolicyTable::Snapshot() {
  kor::util::MutexLock lock(mutex_);
  RouterState state;
  state.policies.clear();
  for (const Entry& entry : entries_) state.policies.push_back(entry.kept);
  state.next_handle = next_handle_;
  return state;
}

bool PolicyTable::Serves(Entry& entry, IPFamily family) {
  const IPFamily families = entry.kept.policy.ip_family;
  return (families == family || families == IPFamily::kBoth) && entry.enabled(family);
}

bool PolicyTable::Wanted(Entry& entry, IPFamily family) {
  return entry.kept.auto_connect && Serves(entry, family) && !entry.call(family).suspended;
}

// Up or coming up, and not told to go down. After a disconnect that failed its family is not off, nor is it suspended.
bool PolicyTable::LivesOn(const CallState& call) { return !call.stops() && (call.up || call.starts()); }

PolicyTable::ConnectStatus PolicyTable::StatusOf(Entry& entry, IPFamily family) {
  const CallState& call = entry.call(family);
  if (call.stops()) return ConnectStatus::kDisconnecting;
  if (call.up) return ConnectStatus::kConnected;
  if (call.starts()) return ConnectStatus::kConnecting;
  return Wanted(entry, family) ? ConnectStatus::kNone : ConnectStatus::kDisconnected;
}

PolicyTable::Entry* PolicyTable::FindLocked(uint32_t index) {
  return index < entries_.size() ? &entries_[index] : nullptr;
}

PolicyTable::Entry* PolicyTable::FindHandleLocked(int32_t handle) {
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [handle](const Entry& entry) { return entry.kept.policy.handle == handle; });
  return found == entries_.end() ? nullptr : &*found;
}

std::vector<PolicyTable::WwanPolicy> PolicyTable::List() {
  kor::util::MutexLock lock(mutex_);
  std::vector<WwanPolicy> policies;
  policies.reserve(entries_.size());
  for (const Entry& entry : entries_) policies.push_back(entry.kept.policy);
  return policies;
}

bool PolicyTable::Get(uint32_t index, WwanPolicy& policy) {
  kor::util::MutexLock lock(mutex_);
  const Entry* const entry = FindLocked(index);
  if (entry != nullptr) policy = entry->kept.policy;
  return entry != nullptr;
}

bool PolicyTable::GetStatus(uint32_t index, ConnectStatus& ipv4, ConnectStatus& ipv6) {
  kor::util::MutexLock lock(mutex_);
  Entry* const entry = FindLocked(index);
  if (entry == nullptr) return false;
  ipv4 = StatusOf(*entry, IPFamily::kIpv4);
  ipv6 = StatusOf(*entry, IPFamily::kIpv6);
  return true;
}

int32_t PolicyTable::HandleToAsk(uint32_t index, IPFamily family) {
  kor::util::MutexLock lock(mutex_);
  Entry* const entry = FindLocked(index);
  if (entry == nullptr) return 0;
  const int32_t handle = entry->kept.policy.handle;
  return handle == asked_ || !entry->call(family).down() ? handle : 0;
}

template <typename Edit>
bool PolicyTable::EditKept(uint32_t index, Edit edit) {
  {
    kor::util::MutexLock lock(mutex_);
    Entry* const entry = FindLocked(index);
    if (entry == nullptr) return false;
    edit(*entry);
  }
  changed_(Change::kKept);
  return true;
}

bool PolicyTable::Set(uint32_t index, const WwanPolicy& policy) {
  return EditKept(index, [&policy](Entry& entry) {
    const int32_t handle = entry.kept.policy.handle;
    entry.kept.policy = policy;
    entry.kept.policy.handle = handle;
  });
}

bool PolicyTable::SetAutoConnect(uint32_t index, bool enable) {
  return EditKept(index, [enable](Entry& entry) {
    entry.kept.auto_connect = enable;
    entry.ipv4.suspended = entry.ipv6.suspended = false;
  });
}

bool PolicyTable::GetAutoConnect(uint32_t index, bool& enabled) {
  kor::util::MutexLock lock(mutex_);
  const Entry* const entry = FindLocked(index);
  if (entry != nullptr) enabled = entry->kept.auto_connect;
  return entry != nullptr;
}

bool PolicyTable::SetRoaming(uint32_t index, bool enable) {
  return EditKept(index, [enable](Entry& entry) { entry.kept.roaming = enable; });
}

bool PolicyTable::GetRoaming(uint32_t index, bool& enabled) {
  kor::util::MutexLock lock(mutex_);
  const Entry* const entry = FindLocked(index);
  if (entry != nullptr) enabled = entry->kept.roaming;
  return entry != nullptr;
}

bool PolicyTable::SetEnabled(uint32_t index, IPFamily family, bool enable) {
  if (!Switch(index, family, enable)) return false;
  changed_(Change::kKept);
  return true;
}

bool PolicyTable::Switch(uint32_t index, IPFamily family, bool enable) {
  const Turn turn(*this);  // So that no call comes up while its family goes off.
  bool stops = false;
  int32_t handle = 0;
  {
    kor::util::MutexLock lock(mutex_);
    Entry* const entry = FindLocked(index);
    if (entry == nullptr) return false;
    handle = entry->kept.policy.handle;
    stops = !enable && LivesOn(entry->call(family));
  }
  if (stops && HandOverStop(turn, {handle, family}) != kor::Result::kSuccess) return false;
  kor::util::MutexLock lock(mutex_);
  Entry* const entry = FindHandleLocked(handle);
  if (entry != nullptr) entry->enabled(family) = enable || LivesOn(entry->call(family));
  return entry != nullptr;
}

bool PolicyTable::GetEnabled(uint32_t index, IPFamily family, bool& enabled) {
  kor::util::MutexLock lock(mutex_);
  Entry* const entry = FindLocked(index);
  if (entry != nullptr) enabled = entry->enabled(family);
  return entry != nullptr;
}

bool PolicyTable::Create(const WwanPolicy& policy) {
  {
    kor::util::MutexLock lock(mutex_);
    if (entries_.size() >= kMaxPolicies || next_handle_ >= kLastHandle) return false;
    Entry entry;
    entry.kept.policy = policy;
    entry.kept.policy.handle = next_handle_++;
    entries_.push_back(entry);
  }
  changed_(Change::kKept);
  return true;
}

bool PolicyTable::Delete(uint32_t index) {
  kor::util::MutexLock lock(mutex_);
  const Entry* const entry = FindLocked(index);
  if (entry == nullptr || entry->kept.policy.handle == asked_) return false;
  if (!entry->ipv4.down() || !entry->ipv6.down()) return false;
  entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(index));
  return true;
}

kor::Result PolicyTable::Connect(uint32_t index, IPFamily family) {
  WwanPolicy policy;
  if (!IsOneFamily(family) || !Get(index, policy)) return kor::Result::kFailure;
  return Start({policy.handle, family}, Why::kAsked);
}

kor::Result PolicyTable::Disconnect(uint32_t index, IPFamily family) {
  WwanPolicy policy;
  if (!IsOneFamily(family) || !Get(index, policy)) return kor::Result::kFailure;
  return End({policy.handle, family}, true);
}

kor::Result PolicyTable::Start(const ReconnectPlan::Key& key, Why why) {
  kor::Result result{};
  {
    const Turn turn(*this);
    result = HandOverStart(turn, key, why);
  }
  changed_(Change::kState);  // Also when it was refused: it is not suspended any more.
  return result;
}

kor::Result PolicyTable::HandOverStart(const Turn&, const ReconnectPlan::Key& key, Why why) {
  const IPFamily family = key.second;
  const bool roams = why != Why::kRuns && port_.IsRoaming();
  kor::modem::CallRequest request;
  {
    kor::util::MutexLock lock(mutex_);
    Entry* const entry = FindHandleLocked(key.first);
    if (entry == nullptr) return kor::Result::kFailure;
    if (why == Why::kAsked) entry->call(family).suspended = false;
    if (why == Why::kByItself && !(Wanted(*entry, family) && entry->call(family).down())) return kor::Result::kFailure;
    if (!Serves(*entry, family) || (roams && !entry->kept.roaming)) return kor::Result::kFailure;
    asked_ = key.first;
    const WwanPolicy& policy = entry->kept.policy;
    const int profile = family == IPFamily::kIpv4 ? policy.profile_1 : policy.profile_2;
    request = {key.first, family, profile, ++last_serial_, policy.tech};
  }
  const kor::Result result = port_.StartCall(request);
  if (result != kor::Result::kSuccess) return result;
  kor::util::MutexLock lock(mutex_);
  CallState& call = FindHandleLocked(key.first)->call(family);  // It is there: asked_ keeps it.
  call.start = request.serial;
  // The modem has given that one up: it starts no call that is going down.
  call.stop_answered = std::max(call.stop_answered, call.stop);
  return result;
}

kor::Result PolicyTable::End(const ReconnectPlan::Key& key, bool suspends) {
  kor::Result result{};
  {
    const Turn turn(*this);  // So that nothing connects it between.
    if (suspends) Suspend(key, false);
    result = HandOverStop(turn, key);
    if (suspends && result != kor::Result::kSuccess) Suspend(key, true);
  }
  changed_(Change::kState);
  return result;
}

// One whose disconnect the modem refuses is not, as long as it lives on.
void PolicyTable::Suspend(const ReconnectPlan::Key& key, bool refused) {
  kor::util::MutexLock lock(mutex_);
  Entry* const entry = FindHandleLocked(key.first);
  if (entry == nullptr) return;
  CallState& call = entry->call(key.second);
  call.suspended = !(refused && LivesOn(call));
}

kor::Result PolicyTable::HandOverStop(const Turn&, const ReconnectPlan::Key& key) {
  uint64_t serial = 0;
  {
    kor::util::MutexLock lock(mutex_);
    asked_ = key.first;
    serial = ++last_serial_;
  }
  const kor::Result result = port_.StopCall(key.first, key.second, serial);
  kor::util::MutexLock lock(mutex_);
  Entry* const entry = FindHandleLocked(key.first);
  if (entry != nullptr && result == kor::Result::kSuccess) entry->call(key.second).stop = serial;
  return result;
}

std::vector<ReconnectPlan::Call> PolicyTable::Calls() {
  kor::util::MutexLock lock(mutex_);
  std::vector<ReconnectPlan::Call> calls;
  for (Entry& entry : entries_) {
    for (const IPFamily family : {IPFamily::kIpv4, IPFamily::kIpv6}) {
      calls.push_back({{entry.kept.policy.handle, family}, Wanted(entry, family), StatusOf(entry, family)});
    }
  }
  return calls;
}

bool PolicyTable::WantsAny() {
  kor::util::MutexLock lock(mutex_);
  return std::any_of(entries_.begin(), entries_.end(), [](const Entry& entry) { return entry.kept.auto_connect; });
}

PolicyTable::ConnectStatus PolicyTable::StateOf(const ReconnectPlan::Key& key) {
  kor::util::MutexLock lock(mutex_);
  Entry* const entry = FindHandleLocked(key.first);
  return entry == nullptr ? ConnectStatus::kDisconnected : StatusOf(*entry, key.second);
}

void PolicyTable::TakeOverCalls() {
  uint64_t before = 0;
  {
    kor::util::MutexLock lock(mutex_);
    before = last_serial_;
  }
  std::list<kor::modem::RunningCall> calls;
  const kor::Result result = port_.GetCalls(calls);
  if (result != kor::Result::kSuccess) {
    KOR_LOG(LOG_WARNING, "the modem does not say which calls it has: %d\n", static_cast<int>(result));
  }
  for (const kor::modem::RunningCall& running : calls) TakeOver(running, before);
}

// The policy of a call that was up before: that of its handle or, where the modem has lost it, one that could have
// started it.
PolicyTable::Entry* PolicyTable::FindRunningLocked(const kor::modem::RunningCall& running) {
  if (running.handle != 0) return FindHandleLocked(running.handle);
  const auto fits = [&running](Entry& entry) {
    const WwanPolicy& policy = entry.kept.policy;
    const int profile = running.family == IPFamily::kIpv4 ? policy.profile_1 : policy.profile_2;
    return profile == running.profile && Serves(entry, running.family) && entry.call(running.family).down();
  };
  const auto found = std::find_if(entries_.begin(), entries_.end(), fits);
  return found == entries_.end() ? nullptr : &*found;
}

// `before`: the last number before the modem was asked for its calls.
void PolicyTable::TakeOver(const kor::modem::RunningCall& running, uint64_t before) {
  const bool is_ipv4 = running.family == IPFamily::kIpv4;
  ReconnectPlan::Key key{running.handle, running.family};
  kor::Result result = kor::Result::kFailure;
  {
    const Turn turn(*this);  // So that nothing is asked between the look and the start.
    {
      kor::util::MutexLock lock(mutex_);
      Entry* const entry = FindRunningLocked(running);
      if (entry != nullptr) {
        key.first = entry->kept.policy.handle;
        const CallState& call = entry->call(running.family);
        if (!call.down() || !call.untouched_since(before)) return;
      }
    }
    if (key.first != 0) result = HandOverStart(turn, key, Why::kRuns);
    if (key.first != 0 && result != kor::Result::kSuccess) (void)HandOverStop(turn, key);
  }
  changed_(Change::kState);
  if (result == kor::Result::kSuccess) {
    KOR_LOG(LOG_INFO, "call %d, IPv%d, was up before and is taken over\n", key.first, is_ipv4 ? 4 : 6);
  } else if (key.first != 0) {
    KOR_LOG(LOG_NOTICE, "call %d, IPv%d, was up before and no policy has it: stopped\n", key.first, is_ipv4 ? 4 : 6);
  } else {
    KOR_LOG(LOG_WARNING, "a call of profile %d, IPv%d, was up before and no policy has it\n", running.profile,
            is_ipv4 ? 4 : 6);
  }
}

void PolicyTable::Apply(int32_t handle, IPFamily family, CallEvent event, uint64_t serial) {
  Change change = Change::kState;
  {
    kor::util::MutexLock lock(mutex_);
    Entry* const entry = FindHandleLocked(handle);
    if (entry == nullptr) return;
    CallState& call = entry->call(family);
    call.told = ++last_serial_;
    const auto answer = [serial](uint64_t& answered) { answered = std::max(answered, serial); };
    if (event != CallEvent::kDisconnectFailed) {
      call.up = event == CallEvent::kConnected;
      answer(call.start_answered);
    }
    if (event == CallEvent::kDisconnected || event == CallEvent::kDisconnectFailed) answer(call.stop_answered);
    if (event == CallEvent::kDisconnectFailed && LivesOn(call)) {
      call.suspended = false;
      if (!std::exchange(entry->enabled(family), true)) change = Change::kKept;
    }
  }
  changed_(change);
}

}  // namespace kor::vendor::qcom::qcmap
