// SPDX-License-Identifier: Apache-2.0
#include "simulator/sms.h"

#include <algorithm>
#include <utility>

#include "common/modem_events.h"

namespace kor::modem {

namespace {

using namespace kor::util;
using Storage = kor::wwan::SmsManager::MessageStorage;
using Receipt = kor::wwan::SmsManager::ReceiptAction;

// What is stored needs a storage; what is not stored needs none, and may name one.
bool IsRoute(const kor::wwan::SmsManager::RouteInfo& route) {
  const bool stores = route.storage == Storage::kSim || route.storage == Storage::kDevice;
  return route.action == Receipt::kStoreAndNotify
             ? stores
             : (stores || route.storage == Storage::kNone) && route.action <= Receipt::kTransferAndAck;
}

std::string Number(Storage storage) { return std::to_string(static_cast<uint32_t>(storage)); }

}  // namespace

void Sms::SetReport(ModemPort::EventReport report) {
  MutexLock lock(mutex_);
  report_ = std::move(report);
}

std::list<Sms::Route> Sms::Routes() {
  MutexLock lock(mutex_);
  return {routes_.begin(), routes_.end()};
}

kor::Result Sms::SetRoutes(const std::list<Route>& routes) {
  MutexLock lock(mutex_);
  auto changed = routes_;
  for (const Route& route : routes) {
    const auto index = static_cast<size_t>(route.message_class);
    if (index >= changed.size() || !IsRoute(route)) return kor::Result::kFailure;
    changed[index] = route;
  }
  routes_ = changed;
  return kor::Result::kSuccess;
}

void Sms::ModifyTags() {
  EventDic ev;
  ev.event = kEvtSmsTagsModified;
  Post(ev);
}

bool Sms::Receive(Class message_class, const std::string& sender, const std::string& text) {
  const auto index = static_cast<size_t>(message_class);
  MutexLock lock(mutex_);
  if (index >= routes_.size()) return false;
  const Route& route = routes_[index];
  if (route.action == Receipt::kDiscard) return true;
  EventDic ev;
  if (route.action == Receipt::kStoreAndNotify) {
    ev = StoreLocked(route.storage);
  } else {
    ev.event = kEvtSmsReceived;
    ev.params[kParamSmsText] = text;
  }
  ev.params[kParamSmsSender] = sender;
  if (route.action == Receipt::kTransferOnly) {
    const uint32_t id = ++last_ack_;
    ev.params[kParamSmsAck] = std::to_string(id);
    unacknowledged_[id] = ev;
  }
  Post(ev);
  return true;
}

kor::Result Sms::Acknowledge(uint32_t id) {
  MutexLock lock(mutex_);
  return unacknowledged_.erase(id) == 1 ? kor::Result::kSuccess : kor::Result::kFailure;
}

void Sms::Redeliver() {
  MutexLock lock(mutex_);
  for (const auto& message : unacknowledged_) Post(message.second);
}

void Sms::SetCapacity(Storage storage, uint32_t messages) {
  MutexLock lock(mutex_);
  rooms_[storage].capacity = messages;
}

void Sms::Clear() {
  MutexLock lock(mutex_);
  for (auto& room : rooms_) room.second.used = 0;
}

EventDic Sms::StoreLocked(Storage storage) {
  Room& room = rooms_[storage];
  EventDic ev;
  ev.params[kParamSmsStorage] = Number(storage);
  if (room.used >= room.capacity) {
    ev.event = kEvtSmsStorageFull;
    return ev;
  }
  ev.event = kEvtSmsStored;
  ev.params[kParamSmsIndex] = std::to_string(room.used++);
  return ev;
}

void Sms::Post(const EventDic& ev) {
  events_.Post(std::chrono::milliseconds(0), [this, posted = EventDic(ev)]() mutable {
    ModemPort::EventReport report;
    {
      MutexLock lock(mutex_);
      report = report_;
    }
    if (report) report(posted);
  });
}

}  // namespace kor::modem
