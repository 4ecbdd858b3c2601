// SPDX-License-Identifier: Apache-2.0
// Checks of debug builds (KWWAN_MISUSE_CHECKS, set for this project's own code alone): what would hang, or could, ends
// the process with a sentence on standard error and in the log. Without them nothing of this is left in the code.
#pragma once

namespace kor::util {

// The order of the locks: a thread that holds one takes only those that stand lower here. docs/architecture.md says
// what each is. Locks without a rank are a host's own and stand in no order.
enum class LockRank : int {
  kNone,
  kAtLifecycle,
  kAtRegistry,
  kRadioTables,
  kManagerCount,
  kService,
  kDataTables,
  kDnsTable,
  kEventQueue,
  kAtHolders,
  kAtTable,
  kAtTimerLink,
  kAtQueue,
  kVendor,
  kModemTerminals,
  kModem,
  kModemCard,
  kModemQueue,
  kLast,
};

namespace misuse {

#ifdef KWWAN_MISUSE_CHECKS
constexpr bool kChecked = true;

// A mutex's life: its rank (that of a mutex that has none is not told), each time it is taken and let go, its end.
// Locking() comes before the wait; it is also for what waits for another thread that takes the mutex.
void Ranked(const void* mutex, LockRank rank);
void Locking(const void* mutex);
void Locked(const void* mutex);
void Unlocked(const void* mutex);
void Gone(const void* mutex);

// Callbacks run on this thread from the one to the other.
void NotifyBegins();
void NotifyEnds();

// End the process with `sentence`: always, when this thread holds `mutex`, when it is inside a callback.
[[noreturn]] void Refuse(const char* sentence);
void RefuseHolding(const void* mutex, const char* sentence);
void RefuseInCallback(const char* sentence);

#else
constexpr bool kChecked = false;
inline void Ranked(const void*, LockRank) {}
inline void Locking(const void*) {}
inline void Locked(const void*) {}
inline void Unlocked(const void*) {}
inline void Gone(const void*) {}
inline void NotifyBegins() {}
inline void NotifyEnds() {}
inline void Refuse(const char*) {}
inline void RefuseHolding(const void*, const char*) {}
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

}  // namespace misuse
}  // namespace kor::util
