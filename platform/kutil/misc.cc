// SPDX-License-Identifier: Apache-2.0
#include "common/util/misc.h"

#include <charconv>
#include <system_error>

namespace kor::util {

int Misc::StoiWithException(std::string text, bool& error) {
  int value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, code] = std::from_chars(text.data(), end, value);
  error = code != std::errc() || stop != end;
  return error ? 0 : value;
}

}  // namespace kor::util
