// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "kwwanctl/command_error.h"

namespace CLI {
class App;
}

namespace kor::ctl {

// The words that the parser left over, those that are missing, and those it refused, as usage errors.

// Throws when a word of the parsed command line belongs nowhere, or an object or a verb is missing.
void CheckWords(const CLI::App& app);

// What the parser itself said ("--cid: 1 required TEXT missing") while it parsed `app`.
CommandError ParserError(const CLI::App& app, const std::string& message);

}  // namespace kor::ctl
