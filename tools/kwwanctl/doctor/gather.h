// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "kwwanctl/doctor/facts.h"

namespace kor::ctl {
class Session;
}

namespace kor::ctl::doctor {

// Looks at everything; changes nothing. Takes as long as the host takes to answer, and at most 2 seconds more for the
// answers to questions for `name`.
Facts Gather(Session& session, const std::string& name);

// One walk over /proc: every process, who listens on port 53, and who watches kResolvConfPath.
Processes LookAtProcesses();

// Whether the process lives in another namespace of that kind ("pid", "net") than this one; not set when it does not
// show its own.
std::optional<bool> HasOwnNamespace(pid_t pid, const char* kind);

}  // namespace kor::ctl::doctor
