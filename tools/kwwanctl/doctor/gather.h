// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "kwwanctl/doctor/facts.h"

namespace kor::ctl {
class Session;
}

namespace kor::ctl::doctor {

// Looks at everything; changes nothing. Takes as long as the host takes to answer, and at most 2 seconds more for the
// answers to questions for `name`.
Facts Gather(Session& session, const std::string& name);

}  // namespace kor::ctl::doctor
