// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "kwwanctl/verb.h"

namespace kor::ctl {

using Entries = std::vector<std::pair<std::string, std::string>>;

// What --help shows, from the tables. Pure.

// `path`: "kwwanctl policy autoconnect".
std::string VerbHelp(const std::string& path, const Verb& verb);

// One line for each of `entries`: a name and its help, of which the first sentence counts.
std::string ObjectHelp(const std::string& path, const std::string& help, const Entries& entries);

}  // namespace kor::ctl
