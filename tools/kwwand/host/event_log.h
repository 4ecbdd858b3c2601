// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/condition.h"
#include "common/event_dic.h"
#include "common/mutex.h"
#include "kwwand/lock_ranks.h"
#include "kwwand/wire/method.h"

namespace kor::host {

// Whose subscription an event came by.
enum class Source { kData, kDns, kNetwork, kSms };

struct SeenEvent {
  Source source = Source::kData;
  kor::util::EventDic event;         // Its `data` is null.
  std::vector<std::string> servers;  // Of a DNS update: what the forwarder's list then held.
  std::chrono::steady_clock::time_point at;
  std::chrono::system_clock::time_point time;
};

// The library's events of late, the last 1000, numbered as they came.
//
// Thread safety: all operations may be called from any thread; Wait() by one. Append() is all that the host's event
// callbacks do (that of a DNS update reads the server list first): it takes the log's lock only.
class EventLog {
 public:
  void Append(Source source, kor::util::EventDic& event, std::vector<std::string> servers = {}) KOR_EXCLUDES(mutex_);

  // The number that the next event gets.
  uint64_t Next() const KOR_EXCLUDES(mutex_);

  // Those from number `from` on that are still held; `from` is then the number after them. `lost`, when not null: how
  // many were not held any more.
  std::vector<SeenEvent> Since(uint64_t& from, uint64_t* lost = nullptr) const KOR_EXCLUDES(mutex_);

  // Returns when there is an event from number `from` on, after Ring(), or after `limit`: true unless only for an
  // event.
  bool Wait(uint64_t from, std::chrono::microseconds limit) KOR_EXCLUDES(mutex_);
  void Ring() KOR_EXCLUDES(mutex_);

  // How many lists of DNS servers were written, and when last.
  struct DnsUpdates {
    uint64_t count = 0;
    std::optional<std::chrono::steady_clock::time_point> last;
  };
  DnsUpdates dns_updates() const KOR_EXCLUDES(mutex_);

 private:
  mutable kor::util::Mutex mutex_{rank::kEventLog};
  kor::util::Condition cond_;
  std::list<SeenEvent> events_ KOR_GUARDED_BY(mutex_);  // The last one has number next_ - 1.
  uint64_t next_ KOR_GUARDED_BY(mutex_) = 0;
  bool rung_ KOR_GUARDED_BY(mutex_) = false;
  DnsUpdates dns_updates_ KOR_GUARDED_BY(mutex_);
};

// The way of events out of the host, which can be shut.
//
// Thread safety: all operations may be called from any thread. Once Close() has returned, nothing is on its way and
// nothing comes any more.
class EventSink {
 public:
  explicit EventSink(std::function<void(const Json&)> sink) : sink_(std::move(sink)) {}

  void Send(const Json& event) KOR_EXCLUDES(mutex_) {
    kor::util::MutexLock lock(mutex_);
    if (sink_) sink_(event);
  }

  void Close() KOR_EXCLUDES(mutex_) {
    kor::util::MutexLock lock(mutex_);
    sink_ = nullptr;
  }

 private:
  kor::util::Mutex mutex_{rank::kEventSink};
  std::function<void(const Json&)> sink_ KOR_GUARDED_BY(mutex_);
};

}  // namespace kor::host
