// SPDX-License-Identifier: Apache-2.0
#include "kwwand/host/call_watch.h"

#include <pthread.h>
#include <signal.h>
#include <syslog.h>

#include <algorithm>
#include <exception>
#include <utility>

#include "common/router_events.h"

namespace kor::host {

namespace {

using kor::wwan::DataManager;
using std::chrono::microseconds;

constexpr char kThreadName[] = "kwwand-calls";
constexpr microseconds kRetry = std::chrono::seconds(1);    // Before a modem that did not answer is asked again.
constexpr microseconds kLongPause = std::chrono::hours(1);  // An event or Wake() ends it.

bool IsDataEvent(const SeenEvent& seen) { return seen.source == Source::kData; }

}  // namespace

void CallWatch::Start(DataManager& data) {
  data_ = &data;
  // Signals are for the process's own threads.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  thread_ = std::thread([this] { Run(); });
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void CallWatch::Stop() {
  stop_ = true;
  Wake();
  if (thread_.joinable()) thread_.join();
}

void CallWatch::Wake() { log_.Ring(); }

std::vector<CallWatch::Waiting> CallWatch::Waits() {
  kor::util::MutexLock lock(waits_mutex_);
  std::vector<Waiting> waits;
  const auto now = std::chrono::steady_clock::now();
  for (const auto& [key, waiting] : waits_) {
    if (waiting.next > now) waits.push_back(waiting);  // Else it is being tried, of which there is no event.
  }
  return waits;
}

uint64_t CallWatch::Listen(std::function<void()> listener) {
  kor::util::MutexLock lock(listeners_mutex_);
  listeners_[next_listener_] = std::move(listener);
  return next_listener_++;
}

void CallWatch::Unlisten(uint64_t number) {
  kor::util::MutexLock lock(listeners_mutex_);
  listeners_.erase(number);
}

void CallWatch::CallListeners() {
  kor::util::MutexLock lock(listeners_mutex_);
  for (const auto& [number, listener] : listeners_) listener();
}

void CallWatch::Run() {
  pthread_setname_np(pthread_self(), kThreadName);
  bool look = true;  // Until the states have been read.
  while (!stop_) {
    try {
      Pass(look);
    } catch (const std::exception& e) {
      syslog(LOG_ERR, "looking after the calls: %s\n", e.what());
      look = true;
    }
    if (stop_) return;
    if (log_.Wait(from_, look ? kRetry : kLongPause)) look = true;
  }
}

void CallWatch::Pass(bool& look) {
  uint64_t lost = 0;
  const std::vector<SeenEvent> events = log_.Since(from_, &lost);
  if (lost > 0) syslog(LOG_WARNING, "%llu events came too fast to be told\n", static_cast<unsigned long long>(lost));
  if (!events.empty()) CallListeners();
  const bool read = look || lost > 0 || std::any_of(events.begin(), events.end(), IsDataEvent);
  if (read) look = !ReadCalls();
  PublishEvents(events);
  if (!read || look) return;
  NoteWaits(events);
  PublishStates();
}

// Fills policies_ and calls_; false, with both untouched, when the modem does not answer.
bool CallWatch::ReadCalls() {
  std::vector<DataManager::WwanStatus> statuses;
  if (!data_->GetWwanStatuses(statuses)) return false;
  policies_.clear();
  calls_.clear();
  for (uint32_t i = 0; i < statuses.size(); ++i) {
    policies_.push_back(statuses[i].policy);
    calls_[{statuses[i].policy.handle, IPFamily::kIpv4}] = {i, statuses[i].ipv4_status};
    calls_[{statuses[i].policy.handle, IPFamily::kIpv6}] = {i, statuses[i].ipv6_status};
  }
  return true;
}

void CallWatch::PublishEvents(const std::vector<SeenEvent>& events) {
  for (const SeenEvent& seen : events) sink_.Send(EventJson(seen, policies_));
}

// A wait is over when the call is not down any more, or is not to come up; all are when the modem goes.
void CallWatch::NoteWaits(const std::vector<SeenEvent>& events) {
  kor::util::MutexLock lock(waits_mutex_);
  for (const SeenEvent& seen : events) {
    if (IsDataEvent(seen) && seen.event.event == kor::util::kEvtModemState) waits_.clear();
    const auto wait = WaitOf(seen.event);
    const auto handle = HandleOf(seen.event);
    const auto family = FamilyOf(seen.event);
    if (!IsDataEvent(seen) || !wait || !handle || !family) continue;
    waits_[{*handle, *family}] = {0, *family, wait->attempt, seen.at + wait->left};
    syslog(LOG_NOTICE, "call %d, %s: attempt %d to connect in %.1f s\n", *handle,
           TextOf(kCallFamilies, *family).c_str(), wait->attempt, std::chrono::duration<double>(wait->left).count());
  }
  for (auto it = waits_.begin(); it != waits_.end();) {
    const auto call = calls_.find(it->first);
    if (call == calls_.end() || call->second.state != ConnectStatus::kNone) {
      it = waits_.erase(it);
    } else {
      (it++)->second.index = call->second.index;
    }
  }
}

void CallWatch::PublishStates() {
  std::map<Key, ConnectStatus> states;
  for (const auto& [key, call] : calls_) {
    states[key] = call.state;
    const auto old = published_.find(key);
    if (old == published_.end() || old->second == call.state) continue;
    sink_.Send(OwnEventJson("state", {{"handle", key.first},
                                      {"index", call.index},
                                      {"family", TextOf(kCallFamilies, key.second)},
                                      {"old", TextOf(kStates, old->second)},
                                      {"new", TextOf(kStates, call.state)}}));
  }
  published_.swap(states);
}

}  // namespace kor::host
