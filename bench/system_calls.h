// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

namespace kor::bench {

// How many system calls `work` makes on its thread, of whatever kind: it runs once in a child process that is stopped
// at every one. -1 where a process may not trace its child.
int CountSystemCalls(const std::function<void()>& work);

}  // namespace kor::bench
