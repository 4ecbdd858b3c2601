// SPDX-License-Identifier: Apache-2.0
#include "router/policy_table.h"

namespace kor::vendor::qcom::qcmap {

namespace {

using kor::modem::CallEvent;
using kor::util::IPFamily;

bool IsOneFamily(IPFamily family) { return family == IPFamily::kIpv4 || family == IPFamily::kIpv6; }

}  // namespace

PolicyTable::CallState& PolicyTable::StateOf(Entry& entry, IPFamily family) {
  return family == IPFamily::kIpv4 ? entry.ipv4 : entry.ipv6;
}

PolicyTable::ConnectStatus PolicyTable::StatusOf(const CallState& state) {
  if (state.stop != 0) return ConnectStatus::kDisconnecting;
  if (state.up) return ConnectStatus::kConnected;
  return state.start != 0 ? ConnectStatus::kConnecting : ConnectStatus::kDisconnected;
}

PolicyTable::Entry* PolicyTable::FindLocked(uint32_t index) {
  return index < entries_.size() ? &entries_[index] : nullptr;
}

std::vector<PolicyTable::WwanPolicy> PolicyTable::List() {
  kor::util::MutexLock lock(mutex_);
  std::vector<WwanPolicy> policies;
  policies.reserve(entries_.size());
  for (const Entry& entry : entries_) policies.push_back(entry.policy);
  return policies;
}

bool PolicyTable::Get(uint32_t index, WwanPolicy& policy) {
  kor::util::MutexLock lock(mutex_);
  const Entry* const entry = FindLocked(index);
  if (entry != nullptr) policy = entry->policy;
  return entry != nullptr;
}

bool PolicyTable::Set(uint32_t index, const WwanPolicy& policy) {
  kor::util::MutexLock lock(mutex_);
  Entry* const entry = FindLocked(index);
  if (entry == nullptr) return false;
  const int32_t handle = entry->policy.handle;
  entry->policy = policy;
  entry->policy.handle = handle;
  return true;
}

bool PolicyTable::GetStatus(uint32_t index, ConnectStatus& ipv4, ConnectStatus& ipv6) {
  kor::util::MutexLock lock(mutex_);
  const Entry* const entry = FindLocked(index);
  if (entry == nullptr) return false;
  ipv4 = StatusOf(entry->ipv4);
  ipv6 = StatusOf(entry->ipv6);
  return true;
}

bool PolicyTable::SetAutoConnect(uint32_t index, bool enable) {
  kor::util::MutexLock lock(mutex_);
  Entry* const entry = FindLocked(index);
  if (entry != nullptr) entry->auto_connect = enable;
  return entry != nullptr;
}

bool PolicyTable::GetAutoConnect(uint32_t index, bool& enabled) {
  kor::util::MutexLock lock(mutex_);
  const Entry* const entry = FindLocked(index);
  if (entry != nullptr) enabled = entry->auto_connect;
  return entry != nullptr;
}

bool PolicyTable::SetRoaming(uint32_t index, bool enable) {
  kor::util::MutexLock lock(mutex_);
  Entry* const entry = FindLocked(index);
  if (entry != nullptr) entry->roaming = enable;
  return entry != nullptr;
}

bool PolicyTable::GetRoaming(uint32_t index, bool& enabled) {
  kor::util::MutexLock lock(mutex_);
  const Entry* const entry = FindLocked(index);
  if (entry != nullptr) enabled = entry->roaming;
  return entry != nullptr;
}

bool PolicyTable::SetEnabled(uint32_t index, IPFamily family, bool enable) {
  kor::util::MutexLock lock(mutex_);
  Entry* const entry = FindLocked(index);
  if (entry == nullptr) return false;
  CallState& state = StateOf(*entry, family);
  const bool stops = !enable && state.stop == 0 && (state.up || state.start != 0);
  if (stops && StopLocked(*entry, family) != kor::Result::kSuccess) return false;
  state.enabled = enable;
  return true;
}

bool PolicyTable::GetEnabled(uint32_t index, IPFamily family, bool& enabled) {
  kor::util::MutexLock lock(mutex_);
  Entry* const entry = FindLocked(index);
  if (entry != nullptr) enabled = StateOf(*entry, family).enabled;
  return entry != nullptr;
}

bool PolicyTable::Create(const WwanPolicy& policy) {
  kor::util::MutexLock lock(mutex_);
  if (entries_.size() >= kMaxPolicies) return false;
  Entry entry;
  entry.policy = policy;
  entry.policy.handle = next_handle_++;
  entries_.push_back(entry);
  return true;
}

bool PolicyTable::Delete(uint32_t index) {
  kor::util::MutexLock lock(mutex_);
  const Entry* const entry = FindLocked(index);
  if (entry == nullptr) return false;
  const auto idle = ConnectStatus::kDisconnected;
  if (StatusOf(entry->ipv4) != idle || StatusOf(entry->ipv6) != idle) return false;
  entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(index));
  return true;
}

kor::Result PolicyTable::Connect(uint32_t index, IPFamily family) {
  const bool roams = port_.IsRoaming();
  kor::util::MutexLock lock(mutex_);
  Entry* const entry = FindLocked(index);
  if (entry == nullptr || !IsOneFamily(family)) return kor::Result::kFailure;
  const WwanPolicy& policy = entry->policy;
  if (policy.ip_family != family && policy.ip_family != IPFamily::kBoth) return kor::Result::kFailure;
  if (roams && !entry->roaming) return kor::Result::kFailure;
  if (!StateOf(*entry, family).enabled) return kor::Result::kFailure;
  const int profile = family == IPFamily::kIpv4 ? policy.profile_1 : policy.profile_2;
  const uint64_t serial = ++last_serial_;
  const kor::Result result = port_.StartCall({policy.handle, family, profile, serial});
  if (result != kor::Result::kSuccess) return result;
  CallState& state = StateOf(*entry, family);
  state.start = serial;
  state.stop = 0;  // The modem has given that one up: it starts no call that is going down.
  return result;
}

kor::Result PolicyTable::Disconnect(uint32_t index, IPFamily family) {
  kor::util::MutexLock lock(mutex_);
  Entry* const entry = FindLocked(index);
  if (entry == nullptr || !IsOneFamily(family)) return kor::Result::kFailure;
  return StopLocked(*entry, family);
}

kor::Result PolicyTable::StopLocked(Entry& entry, IPFamily family) {
  const uint64_t serial = ++last_serial_;
  const kor::Result result = port_.StopCall(entry.policy.handle, family, serial);
  if (result == kor::Result::kSuccess) StateOf(entry, family).stop = serial;
  return result;
}

void PolicyTable::Apply(int32_t handle, IPFamily family, CallEvent event, uint64_t serial) {
  kor::util::MutexLock lock(mutex_);
  for (Entry& entry : entries_) {
    if (entry.policy.handle == handle) Take(StateOf(entry, family), event, serial);
  }
}

void PolicyTable::Take(CallState& state, CallEvent event, uint64_t serial) {
  const auto answer = [serial](uint64_t& request) { request = request <= serial ? 0 : request; };
  switch (event) {
    case CallEvent::kConnected:
    case CallEvent::kConnectFailed:
      state.up = event == CallEvent::kConnected;
      answer(state.start);
      break;
    case CallEvent::kDisconnected:
      state.up = false;
      answer(state.start);
      answer(state.stop);
      break;
    case CallEvent::kDisconnectFailed:
      answer(state.stop);
      // The call lives on, so its family is not off.
      if (state.stop == 0 && (state.up || state.start != 0)) state.enabled = true;
      break;
  }
}

}  // namespace kor::vendor::qcom::qcmap
