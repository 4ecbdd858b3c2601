// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>

#include "common/mutex.h"
#include "port/event_thread.h"
#include "port/lock_ranks.h"
#include "port/modem_port.h"
#include "simulator/faults.h"
#include "simulator/radio_figures.h"

namespace kor::modem {

// The radio of the simulated modem: where it is registered and what it hears, which moves as it is told.
//
// Thread safety: all operations may be called from any thread; none blocks. Answers and reports come on the event
// thread without a lock held; an answer tells how things are when it comes. Lock order: this class's, then that of
// whoever answers `sim_usable`, or the event thread's.
class Radio {
 public:
  using Milliseconds = std::chrono::milliseconds;
  using Manager = kor::wwan::NetworkManager;

  // `sim_usable`: whether the SIM card lets the modem use a network. `events` and `faults` must outlive this object.
  Radio(EventThread& events, Faults& faults, std::function<bool()> sim_usable)
      : events_(events), faults_(faults), sim_usable_(std::move(sim_usable)) {}

  // As ModemPort has them.
  void SetReport(ModemPort::EventReport report) KOR_EXCLUDES(mutex_);
  void StartScan(ModemPort::Answer<Manager::ScanResult> answer) KOR_EXCLUDES(mutex_);
  void GetSignal(ModemPort::Answer<Manager::SignalInfo> answer) KOR_EXCLUDES(mutex_);
  void GetErrorRate(ModemPort::Answer<Manager::ErrorRate> answer) KOR_EXCLUDES(mutex_);
  void GetCells(ModemPort::Answer<Manager::CellLocationInfo> answer) KOR_EXCLUDES(mutex_);
  void GetSystem(ModemPort::Answer<Manager::SystemInfo> answer) KOR_EXCLUDES(mutex_);
  bool IsRoaming() KOR_EXCLUDES(mutex_);

  // How it is now.
  RadioState State() KOR_EXCLUDES(mutex_);

  // Whether there can be calls.
  bool IsInService() KOR_EXCLUDES(mutex_);

  // Whether the modem is served by a technology that a policy allows.
  bool Serves(kor::wwan::Tech tech) KOR_EXCLUDES(mutex_);

  void SetTechnology(Technology technology) KOR_EXCLUDES(mutex_);
  void SetRegistration(Manager::Registration registration) KOR_EXCLUDES(mutex_);
  void SetRoaming(bool roaming) KOR_EXCLUDES(mutex_);
  void MoveSignal(int level, Milliseconds over) KOR_EXCLUDES(mutex_);
  void SetAnswerDelay(Milliseconds delay) KOR_EXCLUDES(mutex_);
  void SetScanDelay(Milliseconds delay) KOR_EXCLUDES(mutex_);

  // The modem is gone: queries that wait are answered at once, with kNotReady.
  void GiveUp() KOR_EXCLUDES(mutex_);

  // Reports what has changed of registration and technology since the last time. To be called after a change of the
  // SIM.
  void ReportChanges() KOR_EXCLUDES(mutex_);

 private:
  using Clock = std::chrono::steady_clock;

  // Answers a query: with what was found, or with kNotReady.
  using Finish = std::function<void(bool found)>;

  // Answers, in `delay`, with what `figures` makes of the state there is then.
  template <typename Record>
  void AnswerLater(Milliseconds delay, ModemPort::Answer<Record> answer, Record (*figures)(const RadioState& state));

  void FinishQuery(uint64_t number, bool found) KOR_EXCLUDES(mutex_);
  RadioState StateLocked() KOR_REQUIRES(mutex_);
  int LevelLocked() const KOR_REQUIRES(mutex_);
  Milliseconds AnswerDelay() KOR_EXCLUDES(mutex_);
  void ReportChangesLocked() KOR_REQUIRES(mutex_);
  void EndMove(uint64_t move) KOR_EXCLUDES(mutex_);
  void Report(uint32_t event) KOR_EXCLUDES(mutex_);

  // Constant after construction.
  EventThread& events_;
  Faults& faults_;
  const std::function<bool()> sim_usable_;

  kor::util::Mutex mutex_{rank::kModem};
  ModemPort::EventReport report_ KOR_GUARDED_BY(mutex_);
  RadioState set_ KOR_GUARDED_BY(mutex_);       // As it was set; the level is the one that is moved to.
  RadioState reported_ KOR_GUARDED_BY(mutex_);  // As subscribers know it.
  int level_before_ KOR_GUARDED_BY(mutex_) = 0;
  Clock::time_point move_start_ KOR_GUARDED_BY(mutex_);
  Milliseconds move_time_ KOR_GUARDED_BY(mutex_){0};
  uint64_t moves_ KOR_GUARDED_BY(mutex_) = 0;
  std::map<uint64_t, Finish> queries_ KOR_GUARDED_BY(mutex_);  // Not answered yet, by a number of their own.
  uint64_t last_query_ KOR_GUARDED_BY(mutex_) = 0;
  Milliseconds answer_delay_ KOR_GUARDED_BY(mutex_){20};
  Milliseconds scan_delay_ KOR_GUARDED_BY(mutex_){200};
};

}  // namespace kor::modem
