// SPDX-License-Identifier: Apache-2.0
#include "data/wait_key.h"

#include <set>

#include "common/mutex.h"
#include "lock_ranks.h"

namespace kor::wwan {

namespace {

struct TakenKeys {
  kor::util::Mutex mutex{rank::kWaitKeys};
  std::set<uint32_t> numbers KOR_GUARDED_BY(mutex);
};

// Never destroyed: a wait may still run on another thread while the process exits.
TakenKeys& Taken() {
  static TakenKeys& taken = *new TakenKeys;
  return taken;
}

}  // namespace

WaitKey::WaitKey(uint32_t wished) : number_(wished) {
  TakenKeys& taken = Taken();
  kor::util::MutexLock lock(taken.mutex);
  while (!taken.numbers.insert(number_).second) ++number_;
}

WaitKey::~WaitKey() {
  TakenKeys& taken = Taken();
  kor::util::MutexLock lock(taken.mutex);
  taken.numbers.erase(number_);
}

void* WaitKey::get() const { return reinterpret_cast<void*>(static_cast<uintptr_t>(number_)); }

}  // namespace kor::wwan
