// SPDX-License-Identifier: Apache-2.0
// The parts of handoff_bench.
#pragma once

#include <vector>

#include "wwan/at_manager.h"

namespace kor::bench {

// Where the two threads of a hand-off run: on one processor, where a figure is the code's and the switches' alone, or
// on two, where waking an idle processor hides most of it.
struct Places {
  int poster = 0;
  int waiter = 0;
};

constexpr int kRounds = 9;  // What is compared takes turns, so many times; the medians count.
constexpr int kBatch = 10;  // Round trips that are timed as one.

// The command that is handed over: a short name, three parameters, one of them too long for a string object.
kor::wwan::AtManager::Command SampleCommand();

// The AT service's queue, its copy and its wake-up included. Prints "handoff rtt" and "handoff flood".
void MeasureQueue(const Places& places);

// A forwarded command until its answer reaches the modem. Prints "service serial", for each way that log lines can go,
// and "service allocations".
void MeasureService(const Places& places);

// The end of a blocking Connect. Prints "connect tail".
void MeasureConnect(const Places& places);

}  // namespace kor::bench
