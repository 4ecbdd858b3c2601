// SPDX-License-Identifier: Apache-2.0
// Text from a network, a modem, a file or the command line, on its way to a terminal. All pure.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kor::tools {

// Takes the first character of `text` (UTF-8) off it. Nothing, and only the first byte taken, when that is no UTF-8.
// Requires: text is not empty.
std::optional<char32_t> TakeCharacter(std::string_view& text);

bool IsUtf8(std::string_view text);

// `text` with everything that a terminal would obey instead of showing as "\n", "\t", "\x1b" or "\u{202e}": control
// characters, what changes the writing direction, and bytes that are no UTF-8.
std::string Escape(std::string_view text);

// The same, but for '\n'.
std::string EscapeLines(std::string_view text);

}  // namespace kor::tools
