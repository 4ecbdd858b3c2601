// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <list>
#include <map>
#include <string>

#include "common/mutex.h"
#include "common/result.h"
#include "port/event_thread.h"
#include "port/lock_ranks.h"
#include "port/modem_port.h"
#include "wwan/sms_manager.h"

namespace kor::modem {

// The short messages of the simulated modem: the route of each class, and how full the storages are.
//
// Thread safety: all operations may be called from any thread; none blocks. Reports come on the event thread without a
// lock held.
class Sms {
 public:
  using Class = kor::wwan::SmsManager::MessageClass;
  using Storage = kor::wwan::SmsManager::MessageStorage;
  using Action = kor::wwan::SmsManager::ReceiptAction;
  using Route = kor::wwan::SmsManager::RouteInfo;

  // `events` must outlive this object.
  explicit Sms(EventThread& events) : events_(events) {}

  // As ModemPort has them.
  void SetReport(ModemPort::EventReport report) KOR_EXCLUDES(mutex_);
  std::list<Route> Routes() KOR_EXCLUDES(mutex_);
  kor::Result SetRoutes(const std::list<Route>& routes) KOR_EXCLUDES(mutex_);
  void ModifyTags();
  kor::Result Acknowledge(uint32_t id) KOR_EXCLUDES(mutex_);

  // What nobody has acknowledged comes again: the modem is back.
  void Redeliver() KOR_EXCLUDES(mutex_);

  // A message arrives and goes the way of its class. False when the class has no route.
  bool Receive(Class message_class, const std::string& sender, const std::string& text) KOR_EXCLUDES(mutex_);

  void SetCapacity(Storage storage, uint32_t messages) KOR_EXCLUDES(mutex_);
  void Clear() KOR_EXCLUDES(mutex_);

 private:
  struct Room {
    uint32_t capacity = 0;
    uint32_t used = 0;
  };

  kor::util::EventDic StoreLocked(Storage storage) KOR_REQUIRES(mutex_);
  void Post(const kor::util::EventDic& ev);

  EventThread& events_;

  kor::util::Mutex mutex_{rank::kModem};
  ModemPort::EventReport report_ KOR_GUARDED_BY(mutex_);
  std::array<Route, 5> routes_ KOR_GUARDED_BY(mutex_) = {{
      {Class::kClass0, Storage::kNone, Action::kTransferAndAck},
      {Class::kClass1, Storage::kDevice, Action::kStoreAndNotify},
      {Class::kClass2, Storage::kSim, Action::kStoreAndNotify},
      {Class::kClass3, Storage::kNone, Action::kTransferAndAck},
      {Class::kNone, Storage::kDevice, Action::kStoreAndNotify},
  }};
  std::map<uint32_t, kor::util::EventDic> unacknowledged_ KOR_GUARDED_BY(mutex_);  // By their kParamSmsAck.
  uint32_t last_ack_ KOR_GUARDED_BY(mutex_) = 0;
  std::map<Storage, Room> rooms_ KOR_GUARDED_BY(mutex_) = {{Storage::kSim, {20, 0}}, {Storage::kDevice, {100, 0}}};
};

}  // namespace kor::modem
