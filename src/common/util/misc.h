// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "common/export.h"

namespace kor::util {

class KOR_EXPORT Misc {
 public:
  // The value of `text`, which is a decimal integer and nothing else (an optional minus sign, digits; no blanks, within
  // the range of int). `error` is true, and the result 0, when it is not.
  static int StoiWithException(std::string text, bool& error);
};

}  // namespace kor::util
