// SPDX-License-Identifier: Apache-2.0
#include "vendor/policy_table.h"

namespace kor::vendor::qcom::qcmap {

namespace {

using kor::modem::CallEvent;
using kor::util::IPFamily;

bool IsOneFamily(IPFamily family) { return family == IPFamily::kIpv4 || family == IPFamily::kIpv6; }

}  // namespace

// Leaked on purpose, as the wrapper is: the modem's thread may be at work while exit() destroys what is static.
PolicyTable& PolicyTable::Get() {
  static PolicyTable* const table = new PolicyTable(kor::modem::ModemPort::Get());
  return *table;
}

PolicyTable::CallState& PolicyTable::StateOf(Entry& entry, IPFamily family) {
  return family == IPFamily::kIpv4 ? entry.ipv4 : entry.ipv6;
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
  ipv4 = entry->ipv4.now;
  ipv6 = entry->ipv6.now;
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
  const bool stops = !enable && (state.now == ConnectStatus::kConnecting || state.now == ConnectStatus::kConnected);
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
  if (entry->ipv4.now != idle || entry->ipv6.now != idle) return false;
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
  const kor::Result result = port_.StartCall({policy.handle, family, profile});
  CallState& state = StateOf(*entry, family);
  if (result == kor::Result::kSuccess && state.now != ConnectStatus::kConnected) state.now = ConnectStatus::kConnecting;
  return result;
}

kor::Result PolicyTable::Disconnect(uint32_t index, IPFamily family) {
  kor::util::MutexLock lock(mutex_);
  Entry* const entry = FindLocked(index);
  if (entry == nullptr || !IsOneFamily(family)) return kor::Result::kFailure;
  return StopLocked(*entry, family);
}

kor::Result PolicyTable::StopLocked(Entry& entry, IPFamily family) {
  const kor::Result result = port_.StopCall(entry.policy.handle, family);
  CallState& state = StateOf(entry, family);
  if (result == kor::Result::kSuccess && state.now != ConnectStatus::kDisconnecting) {
    state.before = state.now;
    state.now = ConnectStatus::kDisconnecting;
  }
  return result;
}

void PolicyTable::Apply(int32_t handle, IPFamily family, CallEvent event) {
  kor::util::MutexLock lock(mutex_);
  for (Entry& entry : entries_) {
    if (entry.policy.handle != handle) continue;
    CallState& state = StateOf(entry, family);
    switch (event) {
      case CallEvent::kConnected:
        // A disconnect that is under way stays so.
        (state.now == ConnectStatus::kDisconnecting ? state.before : state.now) = ConnectStatus::kConnected;
        break;
      case CallEvent::kConnectFailed:
        (state.now == ConnectStatus::kDisconnecting ? state.before : state.now) = ConnectStatus::kDisconnected;
        break;
      case CallEvent::kDisconnected:
        state.now = ConnectStatus::kDisconnected;
        break;
      case CallEvent::kDisconnectFailed:
        if (state.now == ConnectStatus::kDisconnecting) state.now = state.before;
        break;
    }
  }
}

}  // namespace kor::vendor::qcom::qcmap
