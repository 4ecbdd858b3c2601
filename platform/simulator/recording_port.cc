// SPDX-License-Identifier: Apache-2.0
#include "simulator/recording_port.h"

#include <algorithm>

namespace kor::modem {

RecordingPort::RecordingPort(ModemPort& port, Faults& faults, std::chrono::milliseconds limit)
    : port_(port), faults_(faults), limit_(limit) {
  port_.AddStateReport([this](ModemState) {
    kor::util::MutexLock lock(mutex_);
    gone_.Signal();
  });
}

std::string RecordingPort::Text(const std::string& text) {
  constexpr size_t kMost = 500;
  std::string cut = text.substr(0, kMost);
  for (char& c : cut) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '.';
  }
  return cut;
}

std::string RecordingPort::Text(const Routes::value_type& route) {
  return Text(static_cast<int>(route.message_class)) + ":" + Text(static_cast<int>(route.storage)) + ":" +
         Text(static_cast<int>(route.action));
}

kor::Result RecordingPort::Travel(const char* name) {
  const std::chrono::milliseconds delay = faults_.DelayOf(name);
  if (delay.count() <= 0) return kor::Result::kSuccess;
  const auto end = std::chrono::steady_clock::now() + std::min(delay, limit_);
  kor::util::MutexLock lock(mutex_);
  while (port_.State() == ModemState::kReady) {
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(end - std::chrono::steady_clock::now());
    if (left.count() <= 0) return delay > limit_ ? kor::Result::kTimeout : kor::Result::kSuccess;
    (void)gone_.WaitUntil(mutex_, left.count());
  }
  gone_.Signal();
  return kor::Result::kNotReady;
}

}  // namespace kor::modem
