// SPDX-License-Identifier: Apache-2.0
#include "common/lock_order.h"

#ifdef KWWAN_MISUSE_CHECKS

#include <syslog.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "common/mutex.h"

namespace kor::util::lock_order {

// What this thread holds. Each library has a copy of this file, and all use the state of the one that was loaded first:
// it is data, because functions are bound within their library. Kept by thread, not in a table with a lock of its own,
// which would order the threads and so hide races from ThreadSanitizer.
#pragma GCC visibility push(default)

// Needs no destruction: other objects of a thread may lock while they are destroyed.
struct ThreadState {
  const Mutex* held[16];  // In the order in which they were taken; more are not checked.
  size_t count;
  int notifying;
};
thread_local ThreadState t_state;

#pragma GCC visibility pop

namespace {

void RefuseOrder(const LockRank& wanted, const LockRank& held) {
  char sentence[256];
  snprintf(sentence, sizeof(sentence),
           "the lock %s is taken while %s is held, against the order in docs/architecture.md: unlock that one "
           "first, or hand the work to another thread",
           wanted.name, held.name);
  Refuse(sentence);
}

}  // namespace

void Locking(const Mutex& mutex) {
  RefuseHolding(mutex, "a thread takes a lock that it holds, and would wait for itself: unlock it first");
  const LockRank& wanted = mutex.rank();
  if (wanted.number == LockRank().number) return;
  for (size_t i = 0; i < t_state.count; ++i) {
    const LockRank& held = t_state.held[i]->rank();
    if (held.number >= wanted.number) RefuseOrder(wanted, held);
  }
}

void Locked(const Mutex& mutex) {
  if (t_state.count < std::size(t_state.held)) t_state.held[t_state.count++] = &mutex;
}

void Unlocked(const Mutex& mutex) {
  const Mutex** const left = std::remove(t_state.held, t_state.held + t_state.count, &mutex);
  t_state.count = static_cast<size_t>(left - t_state.held);
}

void NotifyBegins() { ++t_state.notifying; }

void NotifyEnds() { --t_state.notifying; }

void Refuse(const char* sentence) {
  fprintf(stderr, "kwwan is misused: %s.\n", sentence);
  syslog(LOG_CRIT, "kwwan is misused: %s.\n", sentence);
  abort();
}

void RefuseHolding(const Mutex& mutex, const char* sentence) {
  const Mutex** const end = t_state.held + t_state.count;
  if (std::find(t_state.held, end, &mutex) != end) Refuse(sentence);
}

void RefuseInCallback(const char* sentence) {
  if (t_state.notifying > 0) Refuse(sentence);
}

}  // namespace kor::util::lock_order

#endif
