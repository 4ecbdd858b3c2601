// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>

#include "wwan/data_manager.h"

namespace kor::wwan {

struct DataManagerPeer {
  static void SetWaitBudget(DataManager& data, std::chrono::microseconds budget) {
    data.wait_budget_us_ = budget.count();
  }
  static uint32_t InstanceNumber(const DataManager& data) { return data.ins_no_; }
  static size_t Queued(DataManager& data) {
    kor::util::MutexLock lock(data.mutex_);
    return data.events_.size();
  }
  static void WakeForNothing(DataManager& data) { data.cond_.Signal(); }
};

}  // namespace kor::wwan

namespace kor::test {

// A number that the environment may set: how long a story is played, and with which seed.
inline unsigned Setting(const char* name, unsigned otherwise) {
  const char* const text = getenv(name);
  return text == nullptr ? otherwise : static_cast<unsigned>(strtoul(text, nullptr, 10));
}

class Dice {
 public:
  explicit Dice(unsigned seed) : engine_(seed) {}
  unsigned Below(unsigned end) { return std::uniform_int_distribution<unsigned>(0, end - 1)(engine_); }
  bool OneIn(unsigned n) { return Below(n) == 0; }

  // Lets up to so much time pass: what comes next comes at any moment.
  void Dally(std::chrono::microseconds most) {
    std::this_thread::sleep_for(std::chrono::microseconds(Below(static_cast<unsigned>(most.count()) + 1)));
  }

 private:
  std::mt19937 engine_;
};

}  // namespace kor::test
