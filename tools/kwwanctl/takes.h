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

// What an argument takes: how to say it, and how a word becomes a JSON value.
struct Takes {
  std::string text;                                                   // "a number from 0 to 254"
  std::vector<std::string> words;                                     // All there are, when they can be listed.
  std::function<std::optional<Json>(const std::string& word)> parse;  // Nothing: the word is none.
};

Takes Number(int64_t min, int64_t max);

// Any text, not empty, that is UTF-8. `what`: "a name", for people.
Takes Text(const std::string& what);

// One of the words, each of which may stand for another value.
Takes Words(const std::vector<std::pair<std::string, Json>>& words);
Takes OneOf(const std::vector<std::string>& words);

Takes OnOff();  // Words to true and false.

// An IPv4 address, dotted.
Takes Address();

// Nothing: the option is there or not. `value` is its meaning.
Takes Flag(const Json& value = true);

}  // namespace kor::ctl
