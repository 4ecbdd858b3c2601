// SPDX-License-Identifier: Apache-2.0
// The order of the locks, and the checks of debug builds (KWWAN_MISUSE_CHECKS, set for this project's own code alone):
// what would hang, or could, ends the process with a sentence on standard error and in the log. Without them nothing of
// this is left in the code but the rank that each mutex holds.
#pragma once

namespace kor::util {

class Mutex;

// A lock's place in the one order of a process: a thread that holds one takes only those with a higher number. Each
// layer names its own in its lock_ranks.h, with room between them for more; docs/architecture.md has them all in one
// table. A lock without a rank stands in no order.
struct LockRank {
  int number = 0;
  const char* name = "unranked";  // A literal: it is not copied.
};

namespace lock_order {

#ifdef KWWAN_MISUSE_CHECKS
constexpr bool kChecked = true;

// Each time that a mutex is taken and let go. Locking() comes before the wait; it is also for what waits for another
// thread that takes the mutex.
void Locking(const Mutex& mutex);
void Locked(const Mutex& mutex);
void Unlocked(const Mutex& mutex);

// Callbacks run on this thread from the one to the other.
void NotifyBegins();
void NotifyEnds();

// End the process with `sentence`: always, when this thread holds `mutex`, when it is inside a callback.
[[noreturn]] void Refuse(const char* sentence);
void RefuseHolding(const Mutex& mutex, const char* sentence);
void RefuseInCallback(const char* sentence);

#else
constexpr bool kChecked = false;
inline void Locking(const Mutex&) {}
inline void Locked(const Mutex&) {}
inline void Unlocked(const Mutex&) {}
inline void NotifyBegins() {}
inline void NotifyEnds() {}
inline void Refuse(const char*) {}
inline void RefuseHolding(const Mutex&, const char*) {}
inline void RefuseInCallback(const char*) {}
#endif

// The time that a publisher spends in its callbacks.
class Notifying {
 public:
  Notifying() { NotifyBegins(); }
  ~Notifying() { NotifyEnds(); }
  Notifying(const Notifying&) = delete;
  Notifying& operator=(const Notifying&) = delete;
};

}  // namespace lock_order
}  // namespace kor::util
