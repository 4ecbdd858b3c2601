// SPDX-License-Identifier: Apache-2.0
#include "kutil/guarded_call.h"

#include "common/catch_all.h"
#include "common/log.h"

namespace kor::util {

void GuardedCall(const std::function<void()>& call) {
  CatchAll(call, [](const char* text) { KOR_LOG(LOG_ERR, "A callback failed: %s\n", text); });
}

}  // namespace kor::util
