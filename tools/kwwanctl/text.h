// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "shared/escape.h"

namespace kor::ctl {

using kor::tools::Escape;
using kor::tools::EscapeLines;
using kor::tools::IsUtf8;
using kor::tools::TakeCharacter;

// Columns that escaped text takes on a terminal: none for what combines with the character before, two for wide ones.
size_t DisplayWidth(std::string_view text);

// `text` with blanks up to `width` columns.
std::string Pad(const std::string& text, size_t width);

}  // namespace kor::ctl
