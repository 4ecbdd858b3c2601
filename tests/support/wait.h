// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace kor::test {

constexpr std::chrono::seconds kLongEnough{20};  // What a wait may take before the test fails; never waited out.

// True as soon as `condition` holds. For states of the outside world (files, processes, interfaces) that nobody
// announces; where there is an event, wait for that.
inline bool Eventually(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + kLongEnough;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

}  // namespace kor::test
