// SPDX-License-Identifier: Apache-2.0
#include "simulator/radio.h"

#include <algorithm>
#include <utility>

namespace kor::modem {

using kor::util::MutexLock;
using kor::wwan::NetworkManager;
using Registration = NetworkManager::Registration;

void Radio::SetReport(ModemPort::EventReport report) {
  MutexLock lock(mutex_);
  report_ = std::move(report);
}

void Radio::StartScan(ModemPort::Answer<Manager::ScanResult> answer) {
  Milliseconds delay;
  {
    MutexLock lock(mutex_);
    delay = scan_delay_;
  }
  AnswerLater(delay, std::move(answer), ScanOf);
}

void Radio::GetSignal(ModemPort::Answer<Manager::SignalInfo> answer) {
  AnswerLater(AnswerDelay(), std::move(answer), SignalOf);
}

void Radio::GetErrorRate(ModemPort::Answer<Manager::ErrorRate> answer) {
  AnswerLater(AnswerDelay(), std::move(answer), ErrorRateOf);
}

void Radio::GetCells(ModemPort::Answer<Manager::CellLocationInfo> answer) {
  AnswerLater(AnswerDelay(), std::move(answer), CellsOf);
}

void Radio::GetSystem(ModemPort::Answer<Manager::SystemInfo> answer) {
  AnswerLater(AnswerDelay(), std::move(answer), SystemOf);
}

template <typename Record>
void Radio::AnswerLater(Milliseconds delay, ModemPort::Answer<Record> answer,
                        Record (*figures)(const RadioState& state)) {
  const bool fails = faults_.Take(Faults::kAnswerFails);
  events_.Post(delay, [this, answer = std::move(answer), figures, fails] {
    Record record;
    if (!fails) record = figures(State());
    answer(record);
  });
}

bool Radio::IsRoaming() { return State().roaming; }

bool Radio::IsInService() { return InService(State()); }

void Radio::SetTechnology(Technology technology) {
  MutexLock lock(mutex_);
  set_.technology = technology;
  ReportChangesLocked();
}

void Radio::SetRegistration(Registration registration) {
  MutexLock lock(mutex_);
  set_.registration = registration;
  ReportChangesLocked();
}

void Radio::SetRoaming(bool roaming) {
  MutexLock lock(mutex_);
  set_.roaming = roaming;
  ReportChangesLocked();
}

void Radio::MoveSignal(int level, Milliseconds over) {
  MutexLock lock(mutex_);
  level_before_ = LevelLocked();
  set_.level = std::clamp(level, 0, 100);
  move_start_ = Clock::now();
  move_time_ = over;
  events_.Post(over, [this, move = ++moves_] { EndMove(move); });
}

void Radio::SetAnswerDelay(Milliseconds delay) {
  MutexLock lock(mutex_);
  answer_delay_ = delay;
}

void Radio::SetScanDelay(Milliseconds delay) {
  MutexLock lock(mutex_);
  scan_delay_ = delay;
}

void Radio::ReportChanges() {
  MutexLock lock(mutex_);
  ReportChangesLocked();
}

RadioState Radio::State() {
  MutexLock lock(mutex_);
  return StateLocked();
}

RadioState Radio::StateLocked() {
  RadioState state = set_;
  state.level = LevelLocked();
  if (state.technology == Technology::kNone && state.registration == Registration::kRegistered) {
    state.registration = Registration::kSearching;
  }
  if (!sim_usable_()) state.registration = Registration::kNotRegistered;
  return state;
}

int Radio::LevelLocked() const {
  const auto gone = std::chrono::duration_cast<Milliseconds>(Clock::now() - move_start_);
  if (gone >= move_time_) return set_.level;
  return level_before_ + static_cast<int>((set_.level - level_before_) * gone.count() / move_time_.count());
}

Radio::Milliseconds Radio::AnswerDelay() {
  MutexLock lock(mutex_);
  return answer_delay_;
}

void Radio::ReportChangesLocked() {
  const RadioState now = StateLocked();
  const Milliseconds at_once(0);
  if (now.registration != reported_.registration || now.roaming != reported_.roaming) {
    events_.Post(at_once, [this] { Report(kEvtRegistrationChanged); });
  }
  if (now.technology != reported_.technology) events_.Post(at_once, [this] { Report(kEvtTechnologyChanged); });
  reported_ = now;
}

void Radio::EndMove(uint64_t move) {
  {
    MutexLock lock(mutex_);
    if (move != moves_) return;
  }
  Report(kEvtSignalChanged);
}

void Radio::Report(uint32_t event) {
  ModemPort::EventReport report;
  {
    MutexLock lock(mutex_);
    report = report_;
  }
  kor::util::EventDic ev;
  ev.event = event;
  if (report) report(ev);
}

}  // namespace kor::modem
