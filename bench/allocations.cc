// SPDX-License-Identifier: Apache-2.0
#include "allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<bool> g_counting{false};
std::atomic<long> g_allocations{0};
}  // namespace

void* operator new(size_t size) {
  if (g_counting.load(std::memory_order_relaxed)) ++g_allocations;
  if (void* memory = malloc(size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { free(memory); }
void operator delete(void* memory, size_t) noexcept { free(memory); }

namespace kor::bench {

AllocationCount::AllocationCount() {
  g_allocations = 0;
  g_counting = true;
}

AllocationCount::~AllocationCount() { g_counting = false; }

long AllocationCount::value() const { return g_allocations; }

}  // namespace kor::bench
