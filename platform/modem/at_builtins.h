// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "modem/at_line.h"
#include "modem/at_settings.h"

namespace kor::modem {

// Runs one of the commands that the modem answers itself: E I Q V Z &F S3 S4 S5 +CMEE +CGMI +CGMM +CSQ. False when it
// is none of them, or not in this form. `info` becomes what it has to say: lines separated by '\n', or nothing.
bool RunBuiltIn(const AtCommand& command, AtSettings& settings, std::string& info);

}  // namespace kor::modem
