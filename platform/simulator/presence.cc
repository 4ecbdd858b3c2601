// SPDX-License-Identifier: Apache-2.0
#include "simulator/presence.h"

#include <utility>

namespace kor::modem {

using kor::util::MutexLock;

void Presence::AddReport(ModemPort::StateReport report) {
  MutexLock lock(mutex_);
  reports_.push_back(std::move(report));
}

bool Presence::Leave(const std::function<void()>& end) {
  {
    MutexLock lock(mutex_);
    if (state_ != ModemState::kReady && state_ != ModemState::kStarting) return false;
    state_ = ModemState::kGone;
    ++life_;
  }
  end();
  Post(ModemState::kGone);
  return true;
}

void Presence::Return(std::chrono::milliseconds delay) {
  MutexLock lock(mutex_);
  if (state_ == ModemState::kReady || state_ == ModemState::kStarting) return;
  state_ = ModemState::kStarting;
  Post(ModemState::kStarting);
  events_.Post(delay, [this, life = ++life_] { FinishStart(life); });
}

void Presence::FinishStart(uint64_t life) {
  {
    MutexLock lock(mutex_);
    if (life != life_) return;
    state_ = ModemState::kReady;
  }
  Report(ModemState::kReady);
}

void Presence::Post(ModemState state) {
  events_.Post(std::chrono::milliseconds(0), [this, state] { Report(state); });
}

void Presence::Report(ModemState state) {
  std::vector<ModemPort::StateReport> reports;
  {
    MutexLock lock(mutex_);
    reports = reports_;
  }
  for (const auto& report : reports) report(state);
}

}  // namespace kor::modem
