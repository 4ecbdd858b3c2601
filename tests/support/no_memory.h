// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

namespace kor::test {

// While one lives, operator new of this thread throws: at once, or after `left` calls that are still served.
class NoMemory {
 public:
  explicit NoMemory(int left = 0);
  ~NoMemory();
  NoMemory(const NoMemory&) = delete;
  NoMemory& operator=(const NoMemory&) = delete;
};

// Makes `attempt` with memory for one more allocation each time, and looks after each failure that `untouched` holds,
// until it succeeds. How often it failed.
int FailUntilThereIsMemory(const std::function<void(int left)>& attempt, const std::function<void()>& untouched);

// How often operator new was called in this process so far, by whatever thread.
long Allocations();

}  // namespace kor::test
