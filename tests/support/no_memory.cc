// SPDX-License-Identifier: Apache-2.0
#include "support/no_memory.h"

#include <atomic>
#include <climits>
#include <cstdlib>
#include <new>

namespace {
thread_local int t_left = INT_MAX;
std::atomic<long> g_allocations{0};
}  // namespace

void* operator new(size_t size) {
  g_allocations.fetch_add(1, std::memory_order_relaxed);
  if (t_left != INT_MAX && t_left-- <= 0) throw std::bad_alloc();
  if (void* memory = malloc(size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { free(memory); }
void operator delete(void* memory, size_t) noexcept { free(memory); }

namespace kor::test {

NoMemory::NoMemory(int left) { t_left = left; }
NoMemory::~NoMemory() { t_left = INT_MAX; }

int FailUntilThereIsMemory(const std::function<void(int left)>& attempt, const std::function<void()>& untouched) {
  for (int failures = 0;; ++failures) {
    try {
      attempt(failures);
      return failures;
    } catch (const std::bad_alloc&) {
      untouched();
    }
  }
}

long Allocations() { return g_allocations; }

}  // namespace kor::test
