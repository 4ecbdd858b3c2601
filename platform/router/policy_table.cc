// SPDX-License-Identifier: Apache-2.0
#include "router/policy_table.h"

#include <algorithm>

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

PolicyTable::ConnectStatus PolicyTable::StatusOf(const CallState& call) {
  if (call.stops()) return ConnectStatus::kDisconnecting;
  if (call.up) return ConnectStatus::kConnected;
  return call.starts() ? ConnectStatus::kConnecting : ConnectStatus::kDisconnected;
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
  const Entry* const entry = FindLocked(index);
  if (entry == nullptr) return false;
  ipv4 = StatusOf(entry->ipv4);
  ipv6 = StatusOf(entry->ipv6);
  return true;
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
  return EditKept(index, [enable](Entry& entry) { entry.kept.auto_connect = enable; });
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
    const CallState& call = entry->call(family);
    stops = !enable && !call.stops() && (call.up || call.starts());
  }
  if (stops && Stop(turn, handle, family) != kor::Result::kSuccess) return false;
  kor::util::MutexLock lock(mutex_);
  Entry* const entry = FindHandleLocked(handle);
  if (entry != nullptr) entry->enabled(family) = enable || StaysOn(*entry, family);
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
  const auto idle = ConnectStatus::kDisconnected;
  if (StatusOf(entry->ipv4) != idle || StatusOf(entry->ipv6) != idle) return false;
  entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(index));
  return true;
}

bool PolicyTable::MayConnect(Entry& entry, IPFamily family, bool roams) {
  const IPFamily families = entry.kept.policy.ip_family;
  return (families == family || families == IPFamily::kBoth) && entry.enabled(family) && (entry.kept.roaming || !roams);
}

kor::Result PolicyTable::Connect(uint32_t index, IPFamily family) {
  const kor::Result result = IsOneFamily(family) ? Start(index, family) : kor::Result::kFailure;
  if (result == kor::Result::kSuccess) changed_(Change::kState);
  return result;
}

kor::Result PolicyTable::Start(uint32_t index, IPFamily family) {
  const Turn turn(*this);
  const bool roams = port_.IsRoaming();
  kor::modem::CallRequest request;
  {
    kor::util::MutexLock lock(mutex_);
    Entry* const entry = FindLocked(index);
    if (entry == nullptr || !MayConnect(*entry, family, roams)) return kor::Result::kFailure;
    const WwanPolicy& policy = entry->kept.policy;
    request.handle = asked_ = policy.handle;
    request.family = family;
    request.profile = family == IPFamily::kIpv4 ? policy.profile_1 : policy.profile_2;
    request.tech = policy.tech;
    request.serial = ++last_serial_;
  }
  const kor::Result result = port_.StartCall(request);
  if (result != kor::Result::kSuccess) return result;
  kor::util::MutexLock lock(mutex_);
  CallState& call = FindHandleLocked(request.handle)->call(family);  // It is there: asked_ keeps it.
  call.start = request.serial;
  // The modem has given that one up: it starts no call that is going down.
  call.stop_answered = std::max(call.stop_answered, call.stop);
  return result;
}

kor::Result PolicyTable::Disconnect(uint32_t index, IPFamily family) {
  kor::Result result = kor::Result::kFailure;
  {
    const Turn turn(*this);
    WwanPolicy policy;
    if (IsOneFamily(family) && Get(index, policy)) result = Stop(turn, policy.handle, family);
  }
  if (result == kor::Result::kSuccess) changed_(Change::kState);
  return result;
}

kor::Result PolicyTable::Stop(const Turn&, int32_t handle, IPFamily family) {
  uint64_t serial = 0;
  {
    kor::util::MutexLock lock(mutex_);
    if (FindHandleLocked(handle) == nullptr) return kor::Result::kFailure;
    asked_ = handle;
    serial = ++last_serial_;
  }
  const kor::Result result = port_.StopCall(handle, family, serial);
  if (result != kor::Result::kSuccess) return result;
  kor::util::MutexLock lock(mutex_);
  FindHandleLocked(handle)->call(family).stop = serial;  // It is there: asked_ keeps it.
  return result;
}

// A call lives on, so its family is not off.
bool PolicyTable::StaysOn(Entry& entry, IPFamily family) {
  const CallState& call = entry.call(family);
  return !call.stops() && (call.up || call.starts());
}

void PolicyTable::Apply(int32_t handle, IPFamily family, CallEvent event, uint64_t serial) {
  Change change = Change::kState;
  {
    kor::util::MutexLock lock(mutex_);
    Entry* const entry = FindHandleLocked(handle);
    if (entry == nullptr) return;
    CallState& call = entry->call(family);
    const auto answer = [serial](uint64_t& answered) { answered = std::max(answered, serial); };
    if (event != CallEvent::kDisconnectFailed) {
      call.up = event == CallEvent::kConnected;
      answer(call.start_answered);
    }
    if (event == CallEvent::kDisconnected || event == CallEvent::kDisconnectFailed) answer(call.stop_answered);
    if (event == CallEvent::kDisconnectFailed && !entry->enabled(family) && StaysOn(*entry, family)) {
      entry->enabled(family) = true;
      change = Change::kKept;
    }
  }
  changed_(change);
}

}  // namespace kor::vendor::qcom::qcmap
