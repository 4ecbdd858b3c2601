// SPDX-License-Identifier: Apache-2.0
#include "simulator/radio.h"

#include <algorithm>
#include <utility>

#include "common/modem_events.h"

namespace kor::modem {

using kor::util::kEvtRegistrationChanged;
using kor::util::kEvtSignalChanged;
using kor::util::kEvtTechnologyChanged;
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
  Finish finish = [this, answer = std::move(answer), figures, fails](bool found) {
    Record record;
    record.result = found ? kor::Result::kFailure : kor::Result::kNotReady;
    if (found && !fails) record = figures(State());
    answer(record);
  };
  MutexLock lock(mutex_);
  const uint64_t number = ++last_query_;
  queries_.emplace(number, std::move(finish));
  events_.Post(delay, [this, number] { FinishQuery(number, true); });
}

void Radio::FinishQuery(uint64_t number, bool found) {
  Finish finish;
  {
    MutexLock lock(mutex_);
    const auto query = queries_.find(number);
    if (query == queries_.end()) return;  // Answered, when the modem went.
    finish = std::move(query->second);
    queries_.erase(query);
  }
  finish(found);
}

void Radio::GiveUp() {
  MutexLock lock(mutex_);
  for (const auto& query : queries_) {
    events_.Post(Milliseconds(0), [this, number = query.first] { FinishQuery(number, false); });
  }
}

bool Radio::IsRoaming() { return State().roaming; }

bool Radio::IsInService() { return InService(State()); }

bool Radio::Serves(kor::wwan::Tech tech) {
  using kor::wwan::Tech;
  const Technology serving = State().technology;
  if (tech == Tech::kAny || serving == Technology::kNone) return true;  // Without any it is service that is missing.
  const auto allows = [tech](Tech one) { return (static_cast<uint32_t>(tech) & static_cast<uint32_t>(one)) != 0; };
  const bool lte = serving == Technology::kLte || serving == Technology::kLteNr5g;
  const bool nr5g = serving == Technology::kNr5g || serving == Technology::kLteNr5g;
  return (serving == Technology::kUmts && allows(Tech::kUmts)) || (lte && allows(Tech::kLte)) ||
         (nr5g && allows(Tech::kNr5g));
}

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
