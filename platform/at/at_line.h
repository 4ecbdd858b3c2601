// SPDX-License-Identifier: Apache-2.0
// The commands of an AT command line, as ITU-T V.250 (5.3, 5.4) and 3GPP TS 27.007 (4) write them. Pure text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wwan/at_manager.h"

namespace kor::modem {

// `name` is in upper case: "+CSQ", "E", "&F", "S3". `op` is an AtManager::Op.
using AtCommand = kor::wwan::AtManager::Command;

// The commands of a line without its prefix "AT", in order, with name, op and params set. Where the line is wrong a
// command with kOpNone ends the list: what stands before it is still to be executed.
//
//   basic      a letter, also after '&', and a number: "E1" is E with the parameter "1", "S3=13" is S3 with "13";
//              several may follow each other, "E0V1"
//   extended   one of + * # $ % ^ !, a letter and the rest of a name, then nothing, "?", "=?" or "=" and parameters;
//   ';' stands before the next command
// Blanks outside of strings have no meaning. Parameters are separated by commas and may be empty; "+XY=" has none. A
// parameter in quotes is handed over as its value: without the quotes, commas and semicolons in it included, and \hh
// (two hexadecimal digits, such as \22 for a quote) replaced by that character.
std::vector<AtCommand> ParseAtLine(std::string_view body);

// A decimal number within the bounds, or nothing.
std::optional<int64_t> ParseNumber(const std::string& word, int64_t least, int64_t most);

}  // namespace kor::modem
