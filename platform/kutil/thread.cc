// SPDX-License-Identifier: Apache-2.0
#include "common/util/thread.h"

#include <utility>

namespace kor::util {

Thread& Thread::operator=(std::thread&& thread) {
  thread_ = std::move(thread);
  return *this;
}

void Thread::Join() {
  if (thread_.joinable()) thread_.join();
}

}  // namespace kor::util
