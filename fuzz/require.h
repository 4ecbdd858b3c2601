// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <cstdlib>

namespace kor::fuzz {

// Ends the fuzzer with a report unless `holds`.
inline void Require(bool holds, const char* what) {
  if (holds) return;
  fprintf(stderr, "does not hold: %s\n", what);
  abort();
}

}  // namespace kor::fuzz
