// SPDX-License-Identifier: Apache-2.0
#include "kwwand/host/call_watch.h"

#include <pthread.h>
#include <signal.h>
#include <syslog.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace kor::host {

namespace {

using kor::wwan::DataManager;
using std::chrono::duration_cast;
using std::chrono::microseconds;

constexpr char kThreadName[] = "kwwand-calls";
constexpr microseconds kLongPause = std::chrono::hours(1);  // Nothing is due: an event or Wake() ends it.

double Seconds(ReconnectPlan::Clock::duration duration) { return std::chrono::duration<double>(duration).count(); }

bool IsDataEvent(const SeenEvent& seen) { return seen.source == Source::kData; }

// Whether the policy makes calls of the family at all.
bool Serves(const DataManager::WwanPolicy& policy, IPFamily family) {
  return policy.ip_family == family || policy.ip_family == IPFamily::kBoth;
}

Json ReconnectJson(const ReconnectPlan::Waiting& waiting) {
  return {{"handle", waiting.key.first},
          {"index", waiting.index},
          {"family", TextOf(kCallFamilies, waiting.key.second)},
          {"attempt", waiting.attempt},
          {"wait_s", Seconds(waiting.left)}};
}

Json StateJson(const ReconnectPlan::Call& call, ConnectStatus old) {
  return {{"handle", call.key.first},
          {"index", call.index},
          {"family", TextOf(kCallFamilies, call.key.second)},
          {"old", TextOf(kStates, old)},
          {"new", TextOf(kStates, call.state)}};
}

}  // namespace

CallWatch::CallWatch(ReconnectPlan::Clock::duration backoff_min, ReconnectPlan::Clock::duration backoff_max,
                     EventLog& log, EventSink& sink)
    : retry_(backoff_min), log_(log), sink_(sink), plan_(backoff_min, backoff_max) {}

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

void CallWatch::Suspend(const ReconnectPlan::Key& key) {
  kor::util::MutexLock lock(plan_mutex_);
  plan_.Suspend(key);
}

void CallWatch::Resume(const ReconnectPlan::Key& key) {
  {
    kor::util::MutexLock lock(plan_mutex_);
    plan_.Resume(key);
  }
  Wake();
}

std::vector<ReconnectPlan::Waiting> CallWatch::Waits() {
  kor::util::MutexLock lock(plan_mutex_);
  return plan_.Waits(ReconnectPlan::Clock::now());
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
  bool look = true;  // Until the states have been read; a plan that is fed with old ones would see failures.
  while (!stop_) {
    try {
      Pass(look);
    } catch (const std::exception& e) {
      syslog(LOG_ERR, "looking after the calls: %s\n", e.what());
      look = true;
    }
    if (stop_) return;
    const microseconds pause = look ? std::max(duration_cast<microseconds>(retry_), microseconds(1)) : UntilDue();
    if (log_.Wait(from_, pause)) look = true;
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
  PublishStates();
  KeepUp();
}

// Fills policies_ and calls_; false, with both untouched, when the modem does not answer.
bool CallWatch::ReadCalls() {
  std::vector<DataManager::WwanStatus> statuses;
  if (!data_->GetWwanStatuses(statuses)) return false;
  Policies policies;
  std::vector<ReconnectPlan::Call> calls;
  for (uint32_t i = 0; i < statuses.size(); ++i) {
    const DataManager::WwanPolicy& policy = statuses[i].policy;
    bool auto_connect = false;
    bool ipv4 = false;
    bool ipv6 = false;
    if (!data_->GetAutoConnect(i, auto_connect) || !data_->GetIpvEnabled(i, ipv4, ipv6)) return false;
    ipv4 = ipv4 && auto_connect && Serves(policy, IPFamily::kIpv4);
    ipv6 = ipv6 && auto_connect && Serves(policy, IPFamily::kIpv6);
    policies.push_back(policy);
    calls.push_back({{policy.handle, IPFamily::kIpv4}, i, ipv4, statuses[i].ipv4_status});
    calls.push_back({{policy.handle, IPFamily::kIpv6}, i, ipv6, statuses[i].ipv6_status});
  }
  policies_.swap(policies);
  calls_.swap(calls);
  return true;
}

void CallWatch::PublishEvents(const std::vector<SeenEvent>& events) {
  for (const SeenEvent& seen : events) sink_.Send(EventJson(seen, policies_));
}

void CallWatch::PublishStates() {
  std::map<ReconnectPlan::Key, ConnectStatus> states;
  for (const ReconnectPlan::Call& call : calls_) {
    states[call.key] = call.state;
    const auto old = published_.find(call.key);
    if (old == published_.end() || old->second == call.state) continue;
    sink_.Send(OwnEventJson("state", StateJson(call, old->second)));
  }
  published_.swap(states);
}

void CallWatch::KeepUp() {
  std::vector<ReconnectPlan::Waiting> scheduled;
  {
    kor::util::MutexLock lock(plan_mutex_);
    plan_.Update(calls_, ReconnectPlan::Clock::now());
    for (const auto& action : plan_.Due(ReconnectPlan::Clock::now())) {
      if (!stop_) Perform(action);
    }
    scheduled = plan_.TakeScheduled(ReconnectPlan::Clock::now());
  }
  for (const auto& waiting : scheduled) {
    syslog(LOG_NOTICE, "policy %u, %s: attempt %d to connect in %.1f s\n", waiting.index,
           TextOf(kCallFamilies, waiting.key.second).c_str(), waiting.attempt, Seconds(waiting.left));
    sink_.Send(OwnEventJson("reconnect", ReconnectJson(waiting)));
  }
}

// The lock is held over the request, so that what a person suspends is not connected just afterwards.
void CallWatch::Perform(const ReconnectPlan::Action& action) {
  const IPFamily family = action.key.second;
  const bool connect = action.kind == ReconnectPlan::Action::kConnect;
  const kor::Result result =
      connect ? data_->Connect(action.index, family, false) : data_->Disconnect(action.index, family, false);
  ConnectStatus ipv4{};
  ConnectStatus ipv6{};
  (void)data_->GetConnectStatus(action.index, ipv4, ipv6);  // Both kNone when it does not answer.
  const ConnectStatus state = family == IPFamily::kIpv4 ? ipv4 : ipv6;
  if (connect) plan_.Tried(action.key, result == kor::Result::kSuccess, state, ReconnectPlan::Clock::now());
  syslog(LOG_INFO, "policy %u, %s: %s by itself: result %d, %s\n", action.index, TextOf(kCallFamilies, family).c_str(),
         connect ? "connect" : "disconnect", static_cast<int>(result), TextOf(kStates, state).c_str());
}

microseconds CallWatch::UntilDue() {
  kor::util::MutexLock lock(plan_mutex_);
  const auto next = plan_.Next();
  if (!next) return kLongPause;
  return std::max(duration_cast<microseconds>(*next - ReconnectPlan::Clock::now()), microseconds(0));
}

}  // namespace kor::host
