// SPDX-License-Identifier: Apache-2.0
#include "simulator/calls.h"

#include <set>
#include <utility>

#include "simulator/link_script.h"

namespace kor::modem {

namespace {

using kor::util::IPFamily;

bool IsOneFamily(IPFamily family) { return family == IPFamily::kIpv4 || family == IPFamily::kIpv6; }

// Session management causes of 3GPP TS 24.008 10.5.6.6.
CallEnd Refused() { return {26, "insufficient resources"}; }
CallEnd Requested() { return {36, "regular deactivation"}; }
CallEnd Dropped() { return {38, "network failure"}; }
CallEnd NotStopped() { return {111, "protocol error, unspecified"}; }

IPFamily OtherFamily(IPFamily family) { return family == IPFamily::kIpv4 ? IPFamily::kIpv6 : IPFamily::kIpv4; }

}  // namespace

void Calls::SetReport(ModemPort::CallReporter report) {
  kor::util::MutexLock lock(mutex_);
  report_ = std::move(report);
}

void Calls::SetConnectDelay(Milliseconds delay) {
  kor::util::MutexLock lock(mutex_);
  connect_delay_ = delay;
}

void Calls::SetDisconnectDelay(Milliseconds delay) {
  kor::util::MutexLock lock(mutex_);
  disconnect_delay_ = delay;
}

void Calls::SetNotReadyQueries(int count) {
  kor::util::MutexLock lock(mutex_);
  not_ready_queries_ = count;
}

void Calls::SetDnsServers(Family family, DnsServers servers) {
  kor::util::MutexLock lock(mutex_);
  dns_[family] = std::move(servers);
}

void Calls::SetDnsServers(int32_t handle, Family family, DnsServers servers) {
  kor::util::MutexLock lock(mutex_);
  call_dns_[{handle, family}] = std::move(servers);
}

kor::Result Calls::Start(const CallRequest& request) {
  if (!IsOneFamily(request.family) || !in_service_()) return kor::Result::kFailure;
  const Key key(request.handle, request.family);
  kor::util::MutexLock lock(mutex_);
  Call& call = calls_[key];
  if (call.pending == Pending::kStop) return kor::Result::kFailure;
  if (call.life == 0) call.life = request.serial;
  call.serial = request.serial;
  call.profile = request.profile;
  if (!call.up) call.pending = Pending::kStart;
  if (faults_.Take(Faults::kIgnoredRequest)) return kor::Result::kSuccess;
  const bool fails = !call.up && faults_.Take(Faults::kConnectFails);
  events_.Post(connect_delay_, [this, key, life = call.life, failure = fails ? Refused() : CallEnd()] {
    FinishStart(key, life, failure);
  });
  return kor::Result::kSuccess;
}

kor::Result Calls::Stop(int32_t handle, Family family, uint64_t serial) {
  if (!IsOneFamily(family)) return kor::Result::kFailure;
  const Key key(handle, family);
  kor::util::MutexLock lock(mutex_);
  const bool ignored = faults_.Take(Faults::kIgnoredRequest);
  if (!ignored && faults_.Take(Faults::kDisconnectFails)) {
    events_.Post(disconnect_delay_,
                 [this, key, serial] { Report(key, CallEvent::kDisconnectFailed, serial, NotStopped()); });
    return kor::Result::kSuccess;
  }
  Call& call = calls_[key];
  call.serial = serial;
  if (call.pending != Pending::kStop) {
    call.gave_up = call.pending == Pending::kStart;
    call.pending = Pending::kStop;
    call.life = serial;
  }
  if (ignored) return kor::Result::kSuccess;
  events_.Post(disconnect_delay_, [this, key, life = call.life] { FinishStop(key, life, Requested()); });
  return kor::Result::kSuccess;
}

kor::Result Calls::GetConfig(int32_t handle, Family family, CallConfig& config) {
  kor::util::MutexLock lock(mutex_);
  const auto found = calls_.find({handle, family});
  if (found == calls_.end() || !found->second.up) return kor::Result::kFailure;
  Call& call = found->second;
  if (call.not_ready > 0) {
    --call.not_ready;
    return kor::Result::kNotReady;
  }
  config = call.config;
  return kor::Result::kSuccess;
}

bool Calls::Drop(int32_t handle, Family family) {
  const Key key(handle, family);
  kor::util::MutexLock lock(mutex_);
  const Call* const call = FindUpLocked(key);
  if (call == nullptr) return false;
  events_.Post(Milliseconds(0), [this, key, life = call->life] { FinishStop(key, life, Dropped()); });
  return true;
}

void Calls::DropAll(const CallEnd& end) {
  kor::util::MutexLock lock(mutex_);
  for (const auto& [key, call] : calls_) {
    events_.Post(Milliseconds(0), [this, lost = key, life = call.life, end] { FinishByLoss(lost, life, end); });
  }
}

bool Calls::AddRunning(int32_t handle, Family family, int profile) {
  const Key key(handle, family);
  int link = -1;
  {
    kor::util::MutexLock lock(mutex_);
    if (calls_.count(key) != 0) return false;
    Call& call = calls_[key];
    call.profile = profile;
    if (!BringUpLocked(key, call)) {
      calls_.erase(key);
      return false;
    }
    link = call.link;
  }
  events_.Post(Milliseconds(0), [this, link, family] { links_.Up(link, family); });
  return true;
}

std::list<RunningCall> Calls::List() {
  kor::util::MutexLock lock(mutex_);
  std::list<RunningCall> list;
  for (const auto& [key, call] : calls_) {
    if (call.up) list.push_back({key.first, key.second, call.profile, call.config});
  }
  return list;
}

void Calls::FinishStart(const Key& key, uint64_t life, CallEnd failure) {
  // Asked once more: service may have gone while the request was on its way, before there was a call to drop.
  if (failure.text.empty() && !in_service_()) failure = {0, "no service"};
  const bool comes = failure.text.empty();
  bool up = true;
  bool came_up = false;
  int link = -1;
  uint64_t serial = 0;
  {
    kor::util::MutexLock lock(mutex_);
    Call* const call = FindLocked(key, life);
    if (call == nullptr) return;
    if (!call->up) up = came_up = comes && BringUpLocked(key, *call);
    link = call->link;
    serial = call->serial;
    if (!up) calls_.erase(key);
  }
  // Without the lock: the configuration answers already, and `ip` takes its time.
  if (came_up) links_.Up(link, key.second);
  if (up) return Report(key, CallEvent::kConnected, serial, {});
  Report(key, CallEvent::kConnectFailed, serial, comes ? Refused() : failure);
}

void Calls::FinishStop(const Key& key, uint64_t life, const CallEnd& end) {
  bool was_up = false;
  bool gave_up = false;
  int link = -1;
  uint64_t serial = 0;
  {
    kor::util::MutexLock lock(mutex_);
    Call* const call = FindLocked(key, life);
    if (call == nullptr) return;
    was_up = std::exchange(call->up, false);
    gave_up = call->gave_up;
    link = call->link;
    serial = call->serial;
    call->pending = Pending::kStop;  // Starts are refused until the last report but one is out.
  }
  if (was_up) links_.Down(link, key.second);
  if (gave_up) Report(key, CallEvent::kConnectFailed, serial, end);
  {
    kor::util::MutexLock lock(mutex_);
    if (const Call* const call = FindLocked(key, life)) {
      serial = call->serial;
      calls_.erase(key);
    }
  }
  Report(key, CallEvent::kDisconnected, serial, end);
}

void Calls::FinishByLoss(const Key& key, uint64_t life, const CallEnd& end) {
  bool starts = false;
  {
    kor::util::MutexLock lock(mutex_);
    const Call* const call = FindLocked(key, life);
    starts = call != nullptr && call->pending == Pending::kStart;
  }
  if (starts) {
    FinishStart(key, life, end);
  } else {
    FinishStop(key, life, end);
  }
}

void Calls::Report(const Key& key, CallEvent event, uint64_t serial, const CallEnd& end) {
  if (faults_.Take(Faults::kLostReport)) return;
  ModemPort::CallReporter report;
  {
    kor::util::MutexLock lock(mutex_);
    report = report_;
  }
  if (report) report({key.first, key.second, event, serial, end});
}

Calls::Call* Calls::FindLocked(const Key& key, uint64_t life) {
  const auto found = calls_.find(key);
  return found != calls_.end() && found->second.life == life ? &found->second : nullptr;
}

const Calls::Call* Calls::FindUpLocked(const Key& key) const {
  const auto found = calls_.find(key);
  return found != calls_.end() && found->second.up ? &found->second : nullptr;
}

// False when every link number is taken.
bool Calls::BringUpLocked(const Key& key, Call& call) {
  call.link = ChooseLinkLocked(key);
  if (call.link < 0) return false;
  const DnsServers servers = ServersLocked(key);
  call.config = {DeviceAddress(call.link, key.second),
                 PrefixLength(key.second),
                 NetworkAddress(call.link, key.second),
                 kLinkMtu,
                 servers.dns_1,
                 servers.dns_2,
                 links_.NameOf(call.link)};
  call.not_ready = not_ready_queries_;
  call.pending = Pending::kNone;
  call.up = true;
  return true;
}

// The link of the handle's other family, else the lowest free number; -1 when there is none.
int Calls::ChooseLinkLocked(const Key& key) const {
  const Call* const partner = FindUpLocked({key.first, OtherFamily(key.second)});
  if (partner != nullptr) return partner->link;
  std::set<int> taken;
  for (const auto& entry : calls_) taken.insert(entry.second.link);
  for (int number = 0; number < kMaxLinks; ++number) {
    if (taken.count(number) == 0 && !Links::IsForeign(number)) return number;
  }
  return -1;
}

Calls::DnsServers Calls::ServersLocked(const Key& key) const {
  const auto own = call_dns_.find(key);
  if (own != call_dns_.end()) return own->second;
  const auto common = dns_.find(key.second);
  return common != dns_.end() ? common->second : DnsServers();
}

}  // namespace kor::modem
