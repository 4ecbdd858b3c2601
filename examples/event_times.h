// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "common/event_dic.h"

namespace kor::demo {

// Remembers when which event came: what a program's callbacks have to be, brief and free of calls to the library.
//
// Thread safety: all operations may be called from any thread.
class EventTimes {
 public:
  struct Arrival {
    double seconds = 0;  // Since Restart().
    std::string handle;
    std::string ip_family;
  };

  // Forgets everything; time counts from now.
  void Restart();

  // The callback for SetEventCb().
  void Add(kor::util::EventDic& event);

  // Waits for the first event of that code, at most some seconds; false when none came.
  bool Wait(uint32_t event, Arrival& arrival);

 private:
  std::mutex mutex_;  // Guards what follows.
  std::condition_variable cond_;
  std::chrono::steady_clock::time_point started_;
  std::map<uint32_t, Arrival> arrivals_;
};

}  // namespace kor::demo
