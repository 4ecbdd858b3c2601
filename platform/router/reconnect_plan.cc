// SPDX-License-Identifier: Apache-2.0
#include "router/reconnect_plan.h"

#include <algorithm>

namespace kor::vendor::qcom::qcmap {

namespace {

constexpr std::chrono::seconds kStuckAfter{60};  // Networks take half a minute for a call at times, not a whole one.
constexpr int kMostDoublings = 30;

}  // namespace

void ReconnectPlan::Schedule(Entry& entry, Clock::time_point now) const {
  const int doublings = std::min(entry.attempt, kMostDoublings);
  Clock::duration wait = min_;
  for (int i = 0; i < doublings && wait < max_; ++i) wait *= 2;
  ++entry.attempt;
  entry.phase = Phase::kWaiting;
  entry.due = now + std::min(wait, max_);
  entry.scheduled = true;
}

void ReconnectPlan::Follow(Entry& entry, ConnectStatus state, Clock::time_point now) const {
  entry.state = state;
  switch (state) {
    case ConnectStatus::kConnected:
      entry.phase = Phase::kUp;
      entry.attempt = 0;
      break;
    case ConnectStatus::kConnecting:
      if (entry.phase != Phase::kTrying) entry.due = now + kStuckAfter;
      entry.phase = Phase::kTrying;
      break;
    case ConnectStatus::kDisconnecting:
      if (entry.phase != Phase::kWaiting) entry.due = now + min_;
      entry.phase = Phase::kWaiting;
      break;
    case ConnectStatus::kDisconnected:
    case ConnectStatus::kNone:
      if (entry.phase != Phase::kWaiting) Schedule(entry, now);
      break;
  }
}

void ReconnectPlan::Update(const std::vector<Call>& calls, Clock::time_point now) {
  std::map<Key, Entry> before;
  before.swap(entries_);
  for (const Call& call : calls) {
    if (!call.wanted) continue;
    const auto known = before.find(call.key);
    Entry entry;
    entry.due = now;
    if (known != before.end()) entry = known->second;
    Follow(entry, call.state, now);
    entries_[call.key] = entry;
  }
}

std::vector<ReconnectPlan::Action> ReconnectPlan::Due(Clock::time_point now) {
  std::vector<Action> actions;
  for (auto& [key, entry] : entries_) {
    if (entry.phase == Phase::kUp || entry.due > now) continue;
    if (entry.phase == Phase::kTrying) {
      entry.due = now + kStuckAfter;
      actions.push_back({Action::kDisconnect, key});
    } else if (entry.state == ConnectStatus::kDisconnecting) {
      entry.due = now + min_;  // Later.
    } else {
      actions.push_back({Action::kConnect, key});
    }
  }
  return actions;
}

void ReconnectPlan::Tried(const Key& key, bool taken, ConnectStatus state, Clock::time_point now) {
  const auto found = entries_.find(key);
  if (found == entries_.end()) return;
  Entry& entry = found->second;
  const bool down = state == ConnectStatus::kDisconnected || state == ConnectStatus::kNone;
  if (down && !taken) return Schedule(entry, now);
  if (state == ConnectStatus::kDisconnecting) entry.due = now + min_;
  // A request that was taken and shows no state yet is under way.
  Follow(entry, down ? ConnectStatus::kConnecting : state, now);
}

std::optional<ReconnectPlan::Clock::time_point> ReconnectPlan::Next() const {
  std::optional<Clock::time_point> next;
  for (const auto& [key, entry] : entries_) {
    if (entry.phase != Phase::kUp && (!next || entry.due < *next)) next = entry.due;
  }
  return next;
}

std::vector<ReconnectPlan::Waiting> ReconnectPlan::TakeScheduled(Clock::time_point now) {
  std::vector<Waiting> waits;
  for (auto& [key, entry] : entries_) {
    if (entry.scheduled) waits.push_back({key, entry.attempt, std::max(entry.due - now, Clock::duration::zero())});
    entry.scheduled = false;
  }
  return waits;
}

}  // namespace kor::vendor::qcom::qcmap
