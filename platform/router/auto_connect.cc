// SPDX-License-Identifier: Apache-2.0
#include "router/auto_connect.h"

#include <pthread.h>

#include <cstdlib>
#include <sstream>
#include <system_error>
#include <thread>
#include <utility>

#include "common/log.h"
#include "kutil/signals_blocked.h"

namespace kor::vendor::qcom::qcmap {

namespace {

using Clock = ReconnectPlan::Clock;
using std::chrono::duration_cast;
using std::chrono::microseconds;

constexpr char kThreadName[] = "kwwan-router";  // At most 15 characters.
constexpr char kVariable[] = "KWWAN_BACKOFF_MS";
constexpr int kLongest = 3'600'000;

}  // namespace

Backoff Backoff::FromEnvironment() {
  const char* const text = getenv(kVariable);
  if (text == nullptr || *text == '\0') return {};
  int min = 0;
  int max = 0;
  std::istringstream words(text);  // Unlike sscanf() it refuses what int does not hold.
  if (words >> min >> max && words.eof() && 1 <= min && min <= max && max <= kLongest) {
    return {std::chrono::milliseconds(min), std::chrono::milliseconds(max)};
  }
  KOR_LOG(LOG_WARNING, "%s: \"%s\" is not MIN MAX in milliseconds, from 1 to %d\n", kVariable, text, kLongest);
  return {};
}

void AutoConnect::Start(Tell tell) {
  tell_ = std::move(tell);
  kor::util::MutexLock lock(mutex_);
  started_ = true;
  LookLocked();
}

void AutoConnect::Look() {
  kor::util::MutexLock lock(mutex_);
  LookLocked();
}

void AutoConnect::ModemHasCome() {
  kor::util::MutexLock lock(mutex_);
  has_come_ = true;
  LookLocked();
}

void AutoConnect::LookLocked() {
  look_ = true;
  if (running_) return cond_.Signal();
  if (!started_ || !(has_come_ || policies_.WantsAny())) return;
  try {
    const kor::util::SignalsBlocked blocked;
    std::thread([this] { Run(); }).detach();
    running_ = true;
  } catch (const std::system_error& e) {
    KOR_LOG(LOG_ERR, "no call is connected by itself for now: %s\n", e.what());
  }
}

void AutoConnect::Run() {
  pthread_setname_np(pthread_self(), kThreadName);
  for (;;) {
    if (Wait()) {
      plan_.Forget();  // It may have been gone for so short that no pass saw it.
      policies_.TakeOverCalls();
    }
    Pass();
  }
}

// Until there is something to look at or something is due; whether a modem has come.
bool AutoConnect::Wait() {
  kor::util::MutexLock lock(mutex_);
  while (!look_) {
    const auto next = plan_.Next();
    if (!next) {
      cond_.Wait(mutex_);
      continue;
    }
    const auto left = duration_cast<microseconds>(*next - Clock::now());
    if (left.count() <= 0) break;
    (void)cond_.WaitUntil(mutex_, left.count());
  }
  look_ = false;
  return std::exchange(has_come_, false);
}

void AutoConnect::Pass() {
  if (port_.State() != kor::modem::ModemState::kReady) return plan_.Forget();
  plan_.Update(policies_.Calls(), Clock::now());
  for (const auto& action : plan_.Due(Clock::now())) Perform(action);
  for (const auto& waiting : plan_.TakeScheduled(Clock::now())) tell_(waiting);
}

void AutoConnect::Perform(const ReconnectPlan::Action& action) {
  const bool connect = action.kind == ReconnectPlan::Action::kConnect;
  const kor::Result result = connect ? policies_.Reconnect(action.key) : policies_.TakeBack(action.key);
  if (connect) {
    plan_.Tried(action.key, result == kor::Result::kSuccess, policies_.StateOf(action.key), Clock::now());
  }
  KOR_LOG(LOG_INFO, "call %d, IPv%d: %s by itself: result %d\n", action.key.first,
          action.key.second == kor::util::IPFamily::kIpv4 ? 4 : 6, connect ? "connect" : "disconnect",
          static_cast<int>(result));
}

}  // namespace kor::vendor::qcom::qcmap
