// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "kwwanctl/doctor/facts.h"

namespace kor::ctl::doctor {

// One walk over /proc: every process, who listens on port 53, and who watches kResolvConfPath.
Processes LookAtProcesses();

// Whether the process lives in another namespace of that kind ("pid", "net") than this one; not set when it does not
// show its own.
std::optional<bool> HasOwnNamespace(pid_t pid, const char* kind);

}  // namespace kor::ctl::doctor
