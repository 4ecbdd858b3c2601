// SPDX-License-Identifier: Apache-2.0
#include "common/misuse.h"

#ifdef KWWAN_MISUSE_CHECKS

#include <syslog.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace kor::util::misuse {

// The state of the process. Each library has a copy of this file, and all use the state of the one that was loaded
// first: it is data, because functions are bound within their library.
#pragma GCC visibility push(default)

// The ranked mutexes by address: a mutex has no room for its rank. Without a lock, and relaxed, because a lock around
// each lock would order the threads and so hide races from ThreadSanitizer; whoever uses a mutex has it, and with it
// its entry, from the one who made it.
struct Entry {
  std::atomic<const void*> mutex{nullptr};
  std::atomic<LockRank> rank{LockRank::kNone};
};
constexpr size_t kEntries = 4096;
inline Entry process_locks[kEntries];  // Inline: AddressSanitizer takes other copies for a mistake.

struct Held {
  const void* mutex;
  LockRank rank;
};

// Needs no destruction: other objects of a thread may lock while they are destroyed.
struct ThreadState {
  Held held[16];  // In the order in which they were taken; more are not checked.
  size_t count;
  int notifying;
};
thread_local ThreadState t_state;

#pragma GCC visibility pop

namespace {

constexpr const char* kNames[] = {"unranked", "kAtLifecycle", "kAtRegistry", "kRadioTables", "kManagerCount",
                                  "kService", "kDataTables",  "kDnsTable",   "kEventQueue",  "kAtHolders",
                                  "kAtTable", "kAtTimerLink", "kAtQueue",    "kVendor",      "kModemTerminals",
                                  "kModem",   "kModemCard",   "kModemQueue", "kLast"};
static_assert(std::size(kNames) == static_cast<size_t>(LockRank::kLast) + 1, "one for each rank");

bool IsErased(const void* mutex) { return mutex == process_locks; }

// Those that find no place are not checked. So few that a look-up stays short when every entry was used once: an erased
// one never becomes empty again.
constexpr size_t kPlaces = 64;

// Calls `stop` on the entries where `mutex` may be, in order, until it returns true.
template <typename Stop>
void Walk(const void* mutex, Stop stop) {
  const size_t start = (reinterpret_cast<uintptr_t>(mutex) / 8) * 31;
  for (size_t i = 0; i < kPlaces; ++i) {
    if (stop(process_locks[(start + i) % kEntries])) return;
  }
}

Entry* Find(const void* mutex) {
  Entry* found = nullptr;
  Walk(mutex, [&](Entry& entry) {
    const void* const here = entry.mutex.load(std::memory_order_relaxed);
    if (here == mutex) found = &entry;
    return here == mutex || here == nullptr;
  });
  return found;
}

LockRank RankOf(const void* mutex) {
  const Entry* const entry = Find(mutex);
  return entry == nullptr ? LockRank::kNone : entry->rank.load(std::memory_order_relaxed);
}

void RefuseOrder(LockRank wanted, LockRank held) {
  char sentence[256];
  snprintf(sentence, sizeof(sentence),
           "the lock %s is wanted while %s is held, against the order in docs/architecture.md: let go of the one "
           "first, or hand the work to another thread",
           kNames[static_cast<size_t>(wanted)], kNames[static_cast<size_t>(held)]);
  Refuse(sentence);
}

}  // namespace

void Ranked(const void* mutex, LockRank rank) {
  Walk(mutex, [&](Entry& entry) {
    const void* here = entry.mutex.load(std::memory_order_relaxed);
    if (here != nullptr && !IsErased(here)) return false;
    if (!entry.mutex.compare_exchange_strong(here, mutex, std::memory_order_relaxed)) return false;
    entry.rank.store(rank, std::memory_order_relaxed);
    return true;
  });
}

void Gone(const void* mutex) {
  Entry* const entry = Find(mutex);
  if (entry != nullptr) entry->mutex.store(process_locks, std::memory_order_relaxed);
}

void Locking(const void* mutex) {
  RefuseHolding(mutex, "a thread wants a lock that it holds and would wait for itself: let go of it first");
  const LockRank rank = RankOf(mutex);
  if (rank == LockRank::kNone) return;
  for (size_t i = 0; i < t_state.count; ++i) {
    if (t_state.held[i].rank >= rank) RefuseOrder(rank, t_state.held[i].rank);
  }
}

void Locked(const void* mutex) {
  if (t_state.count < std::size(t_state.held)) t_state.held[t_state.count++] = {mutex, RankOf(mutex)};
}

void Unlocked(const void* mutex) {
  Held* const end = t_state.held + t_state.count;
  Held* const left = std::remove_if(t_state.held, end, [mutex](const Held& held) { return held.mutex == mutex; });
  t_state.count = static_cast<size_t>(left - t_state.held);
}

void NotifyBegins() { ++t_state.notifying; }

void NotifyEnds() { --t_state.notifying; }

void Refuse(const char* sentence) {
  fprintf(stderr, "kwwan is misused: %s.\n", sentence);
  syslog(LOG_CRIT, "kwwan is misused: %s.\n", sentence);
  abort();
}

void RefuseHolding(const void* mutex, const char* sentence) {
  for (size_t i = 0; i < t_state.count; ++i) {
    if (t_state.held[i].mutex == mutex) Refuse(sentence);
  }
}

void RefuseInCallback(const char* sentence) {
  if (t_state.notifying > 0) Refuse(sentence);
}

}  // namespace kor::util::misuse

#endif
