// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <thread>

#include "common/export.h"

namespace kor::util {

// Holder of one thread. Requires of its user: Join() before another thread is put in and before destruction.
class KOR_EXPORT Thread {
 public:
  Thread& operator=(std::thread&& thread);

  // Returns once the thread function has returned; at once when no thread is held.
  void Join();

 private:
  std::thread thread_;
};

}  // namespace kor::util
