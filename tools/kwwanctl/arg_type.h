// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kwwanctl/command_error.h"
#include "shared/suggestions.h"

namespace kor::ctl {

using kor::tools::Listed;

// What an argument may be: how to say it, and how a word becomes a JSON value.
struct ArgType {
  std::string text;                                                   // "a number from 0 to 254"
  std::vector<std::string> words;                                     // All there are, when they can be listed.
  std::function<std::optional<Json>(const std::string& word)> parse;  // Nothing: invalid.
};

ArgType Number(int64_t min, int64_t max);

// Any text, not empty, that is UTF-8. `what`: "a name", for people.
ArgType Text(const std::string& what);

// One of the words, each of which may stand for another value.
ArgType Words(const std::vector<std::pair<std::string, Json>>& words);
ArgType OneOf(const std::vector<std::string>& words);

ArgType OnOff();  // Words to true and false.

// An IPv4 address, dotted.
ArgType Address();

// Nothing: the option is there or not. `value` is its meaning.
ArgType Flag(const Json& value = true);

}  // namespace kor::ctl
