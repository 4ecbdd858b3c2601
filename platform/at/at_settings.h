// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "at/at_backend.h"
#include "at/at_line.h"

namespace kor::modem {

// What AT commands set for the terminal at which they are typed. Here are the stored defaults.
struct AtSettings {
  uint8_t echo = 1;           // E
  uint8_t verbose = 1;        // V: result codes as words.
  uint8_t quiet = 0;          // Q: no result codes.
  uint8_t cmee = 0;           // +CMEE: errors as "ERROR" (0), as numbers (1), as texts (2).
  uint8_t rings = 0;          // S0
  uint8_t line_end = 13;      // S3
  uint8_t line_feed = 10;     // S4
  uint8_t erase = 8;          // S5
  uint8_t carrier_wait = 60;  // S7
};

// Runs one of the commands that concern the terminal and not the modem: E H L M Q V X Z &C &D &F S0 S3 S4 S5 S7 +CMEE
// (ITU-T V.250, 3GPP TS 27.007). Some are only taken: no calls are dialled or answered at a terminal. Nothing when it
// is none of them.
std::optional<AtReply> RunSetting(const AtCommand& command, AtSettings& settings);

}  // namespace kor::modem
