// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace kor::modem {

// Runs the program `words[0]`, looked up in PATH, with `input` on its standard input and waits until it has ended. No
// shell is involved. The child has default signal dispositions and none blocked, whatever the host has set.
//
// Empty when the program ended with status 0; otherwise one line that says what went wrong: the first line that it
// wrote to its standard error, if there is one.
//
// Requires: `words` is not empty; `input` fits in a pipe (64 KiB).
std::string RunProgram(const std::vector<std::string>& words, const std::string& input);

}  // namespace kor::modem
