// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <vector>

#include "common/mutex.h"
#include "port/event_thread.h"
#include "port/lock_ranks.h"
#include "port/modem_port.h"

namespace kor::modem {

// Whether the simulated modem is there: ready from the start, or absent; it goes and comes back as it is told.
//
// Thread safety: all operations may be called from any thread; none blocks. Reports come on the event thread without a
// lock held.
class Presence {
 public:
  // `events` must outlive this object.
  explicit Presence(EventThread& events) : events_(events) {}

  ModemState State() const { return state_; }
  bool IsReady() const { return state_ == ModemState::kReady; }

  void AddReport(ModemPort::StateReport report) KOR_EXCLUDES(mutex_);

  // There is no modem yet. Before the first report.
  void BeginAbsent() { state_ = ModemState::kAbsent; }

  // True when it was there. `end` is called then, between the change of the state and its report.
  bool Leave(const std::function<void()>& end) KOR_EXCLUDES(mutex_);

  // Starting at once, and ready after `delay`; nothing when it is there.
  void Return(std::chrono::milliseconds delay) KOR_EXCLUDES(mutex_);

 private:
  void FinishStart(uint64_t life) KOR_EXCLUDES(mutex_);
  void Post(ModemState state);
  void Report(ModemState state) KOR_EXCLUDES(mutex_);

  EventThread& events_;
  std::atomic<ModemState> state_{ModemState::kReady};  // Written under the lock.

  kor::util::Mutex mutex_{rank::kModem};
  uint64_t life_ KOR_GUARDED_BY(mutex_) = 0;  // A start that belongs to an earlier one has lost its meaning.
  std::vector<ModemPort::StateReport> reports_ KOR_GUARDED_BY(mutex_);
};

}  // namespace kor::modem
