// SPDX-License-Identifier: Apache-2.0
#include "port/event_thread.h"

#include <pthread.h>

#include <algorithm>
#include <utility>

#include "kutil/signals_blocked.h"

namespace kor::modem {

namespace {

constexpr char kThreadName[] = "kwwan-modem";  // At most 15 characters.

int64_t NowUs() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::microseconds>(now).count();
}

int64_t AfterUs(std::chrono::milliseconds delay) {
  return NowUs() + std::max<int64_t>(0, std::chrono::microseconds(delay).count());
}

}  // namespace

EventThread::EventThread() {
  const kor::util::SignalsBlocked blocked;
  thread_ = std::thread([this] { Run(); });
}

void EventThread::Post(std::chrono::milliseconds delay, Event event) {
  kor::util::MutexLock lock(mutex_);
  const auto posted = queue_.emplace(AfterUs(delay), std::move(event));
  if (posted == queue_.begin()) work_cond_.Signal();
}

bool EventThread::WaitIdle(std::chrono::milliseconds limit) {
  if (std::this_thread::get_id() == thread_.get_id()) return false;
  const int64_t end = AfterUs(limit);
  kor::util::MutexLock lock(mutex_);
  while (!IdleLocked()) {
    const int64_t left = end - NowUs();
    if (left <= 0) return false;
    (void)idle_cond_.WaitUntil(mutex_, left);
  }
  idle_cond_.Signal();
  return true;
}

void EventThread::Run() {
  pthread_setname_np(pthread_self(), kThreadName);
  for (;;) Next()();
}

EventThread::Event EventThread::Next() {
  kor::util::MutexLock lock(mutex_);
  running_ = false;
  if (queue_.empty()) idle_cond_.Signal();
  for (;;) {
    if (queue_.empty()) {
      work_cond_.Wait(mutex_);
      continue;
    }
    const int64_t left = queue_.begin()->first - NowUs();
    if (left <= 0) break;
    (void)work_cond_.WaitUntil(mutex_, left);
  }
  running_ = true;
  Event event = std::move(queue_.begin()->second);
  queue_.erase(queue_.begin());
  return event;
}

}  // namespace kor::modem
