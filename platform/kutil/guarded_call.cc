// SPDX-License-Identifier: Apache-2.0
#include "kutil/guarded_call.h"

#include <exception>

#include "common/log.h"

namespace kor::util {

void GuardedCall(const std::function<void()>& call) {
  try {
    call();
  } catch (const std::exception& e) {
    KOR_LOG(LOG_ERR, "A callback failed: %s\n", e.what());
  } catch (...) {
    KOR_LOG(LOG_ERR, "A callback failed\n");
  }
}

}  // namespace kor::util
