// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "kwwanctl/verb.h"

namespace kor::ctl {

// Runs what the words of the command line say, of `objects`, and returns the exit status. Errors are told, --help is
// shown.
int RunCommandLine(int argc, char** argv, const std::vector<Object>& objects);

}  // namespace kor::ctl
