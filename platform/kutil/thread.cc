// SPDX-License-Identifier: Apache-2.0
#include "common/util/thread.h"

#include <utility>

#include "common/lock_order.h"

namespace kor::util {

Thread& Thread::operator=(std::thread&& thread) {
  thread_ = std::move(thread);
  return *this;
}

void Thread::Join() {
  if (thread_.get_id() == std::this_thread::get_id()) lock_order::Refuse("a thread joins itself: do it on another one");
  if (thread_.joinable()) thread_.join();
}

}  // namespace kor::util
