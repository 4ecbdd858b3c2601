// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kor::ctl {

// A line that must not be seen: typed without echo after `prompt` when standard input is a terminal, else the next line
// of standard input. Throws CommandError when there is none, or when the person gives up (Ctrl-C); the terminal is as
// before then, too.
std::string ReadSecret(const std::string& prompt);

// The same for a PIN: refuses what no PIN can be before it costs a try, without repeating it.
std::string ReadPin(const std::string& prompt);

// A new PIN; on a terminal it has to be typed twice.
std::string ReadNewPin(const std::string& prompt);

}  // namespace kor::ctl
