// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kor::bench {

// Counts the calls of operator new, by whatever thread, while it lives. One at a time. Without one, operator new costs
// no more than malloc.
class AllocationCount {
 public:
  AllocationCount();
  ~AllocationCount();
  AllocationCount(const AllocationCount&) = delete;
  AllocationCount& operator=(const AllocationCount&) = delete;

  long value() const;
};

}  // namespace kor::bench
