// SPDX-License-Identifier: Apache-2.0
// Words of a scenario line and the values that they stand for. Pure text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/ip_family.h"

namespace kor::modem {

// The words of a line, without quotes and comment; nothing when a quote is not closed.
std::optional<std::vector<std::string>> SplitWords(std::string_view line);

// Each gives nothing when the word is not such a value.
std::optional<kor::util::IPFamily> ParseFamily(const std::string& word);  // "4" or "6".
std::optional<bool> ParseSwitch(const std::string& word);                 // "on" or "off".

// An address of the family, or "-" for an empty text.
std::optional<std::string> ParseServer(const std::string& word, kor::util::IPFamily family);

}  // namespace kor::modem
