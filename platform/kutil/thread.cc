// SPDX-License-Identifier: Apache-2.0
#include "common/util/thread.h"

#include <utility>

#include "common/misuse.h"

namespace kor::util {

Thread& Thread::operator=(std::thread&& thread) {
  thread_ = std::move(thread);
  return *this;
}

void Thread::Join() {
  if (thread_.get_id() == std::this_thread::get_id()) misuse::Refuse("a thread joins itself: do it on another one");
  if (thread_.joinable()) thread_.join();
}

}  // namespace kor::util
