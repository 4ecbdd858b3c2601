// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

namespace kor::util {

// Runs a subscriber's callback on a thread of this library: what it throws is logged and goes no further.
void GuardedCall(const std::function<void()>& call);

}  // namespace kor::util
