// SPDX-License-Identifier: Apache-2.0
// What the one who typed a wrong word is told: the words there are, and the one that was probably meant. Pure.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kor::tools {

// "a", "a or b", "a, b or c"
std::string Listed(const std::vector<std::string>& words);

// The word that was probably meant: the closest of those that begin with `word` or differ in at most a third of its
// letters (one in a short word). Nothing when none is near, or two are equally so.
std::optional<std::string> Nearest(std::string_view word, const std::vector<std::string>& known);

}  // namespace kor::tools
