// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <utility>
#include <vector>

#include "common/catch_all.h"
#include "common/event_dic.h"
#include "common/log.h"
#include "common/mutex.h"

namespace kor::util {

// Subscription table of one event publisher: key -> callback.
//
// Thread safety: all operations may be called from any thread; each holds the table's lock from start to end.
// Notify() keeps that lock while the callbacks run, on the publisher's thread. A callback therefore
//   - must not call Add(), Remove() or Notify() on the same table (it would wait for itself; a debug build of the
//     library ends the process with a sentence instead), and
//   - may take its owner's lock, briefly. Order: table lock first, owner's lock second.
class EventCbMap {
 public:
  using Callback = std::function<void(EventDic&)>;

  EventCbMap() = default;
  explicit EventCbMap(LockRank rank) : mutex_(rank) {}

  // Stores a callback under `key` (usually the subscriber's `this`); one already there is replaced.
  void Add(void* key, Callback cb) KOR_EXCLUDES(mutex_) {
    lock_order::RefuseHolding(mutex_,
                              "a callback adds a callback to its own table: do it when the callback has returned");
    MutexLock lock(mutex_);
    // Room first: once the callback is stored nothing may fail any more.
    order_.reserve(callbacks_.size() + 1);
    callbacks_[key] = std::move(cb);
    RebuildOrderLocked();
  }

  // Forgets `key`; an unknown key changes nothing. Once this has returned, the callback is not running and never runs
  // again, so the subscriber may be destroyed.
  void Remove(void* key) KOR_EXCLUDES(mutex_) {
    lock_order::RefuseHolding(mutex_,
                              "a callback removes a callback of its own table: do it when the callback has returned");
    MutexLock lock(mutex_);
    callbacks_.erase(key);
    RebuildOrderLocked();
  }

  // Calls every non-empty callback with `ev`, in ascending key order. What one throws is logged, and the next is
  // called.
  void Notify(EventDic& ev) KOR_EXCLUDES(mutex_) {
    lock_order::RefuseHolding(mutex_, "a callback publishes to its own table: do it when the callback has returned");
    MutexLock lock(mutex_);
    const lock_order::Notifying notifying;
    for (const Callback* cb : order_) {
      if (*cb) Call(*cb, ev);
    }
  }

 private:
  friend struct EventCbMapPeer;  // Tests count through it.

  static void Call(const Callback& cb, EventDic& ev) {
    const uint32_t event = ev.event;  // As it was published: the callback may change it.
    CatchAll([&] { cb(ev); },
             [event](const char* text) { KOR_LOG(LOG_ERR, "a subscriber of event 0x%x threw: %s\n", event, text); });
  }

  void RebuildOrderLocked() KOR_REQUIRES(mutex_) {
    order_.clear();
    for (const auto& entry : callbacks_) order_.push_back(&entry.second);
  }

  Mutex mutex_;
  std::map<void*, Callback, std::less<void*>> callbacks_ KOR_GUARDED_BY(mutex_);
  std::vector<const Callback*> order_ KOR_GUARDED_BY(mutex_);  // The map's callbacks in key order, for a quick walk.
};

}  // namespace kor::util
