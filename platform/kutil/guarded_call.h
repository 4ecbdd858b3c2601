// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "common/catch_all.h"
#include "common/log.h"

namespace kor::util {

// Runs a subscriber's callback on a thread of this library: what it throws is logged and goes no further.
inline void GuardedCall(const std::function<void()>& call) {
  CatchAll(call, [](const char* text) { KOR_LOG(LOG_ERR, "A callback failed: %s\n", text); });
}

}  // namespace kor::util
