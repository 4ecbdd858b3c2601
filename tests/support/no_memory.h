// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kor::test {

// While one lives, operator new of this thread throws: at once, or after `left` calls that are still served.
class NoMemory {
 public:
  explicit NoMemory(int left = 0);
  ~NoMemory();
  NoMemory(const NoMemory&) = delete;
  NoMemory& operator=(const NoMemory&) = delete;
};

// How often operator new was called in this process so far, by whatever thread.
long Allocations();

}  // namespace kor::test
