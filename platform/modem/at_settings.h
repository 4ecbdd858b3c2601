// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kor::modem {

// What AT commands set for the terminal at which they are typed.
struct AtSettings {
  bool echo = true;     // E
  bool verbose = true;  // V: result codes as words.
  bool quiet = false;   // Q: no result codes.
  int cmee = 0;         // +CMEE: errors as "ERROR" (0), as numbers (1), as texts (2).
  char line_end = 13;   // S3
  char line_feed = 10;  // S4
  char erase = 8;       // S5
};

}  // namespace kor::modem
