// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "common/export.h"
#include "simulator/sim_modem.h"

namespace kor::modem {

struct ScenarioReply {
  bool ok = false;
  std::string text;  // What the command has to say, or what is wrong; lines are separated by '\n'.
};

// The simulated modem's command language: one line is one operation of SimModem; "help" lists them all.
//
//   # The network is slow, then loses the first call.
//   connect-delay 200
//   dns 4 10.255.0.53 -          # "-" is an empty text
//   fail "StartCall" 2
//   drop 100 4
//   type "AT+XY=1,\"a b\""
//
// Words are separated by blanks; double quotes keep blanks and '#' inside a word, and \" and \\ stand for a quote and a
// backslash there; '#' at the start of a word begins a comment. A line without words does nothing. A line that is wrong
// in any word changes nothing, and the reply names the argument and what it takes.
//
// Thread safety: as SimModem.
KOR_EXPORT ScenarioReply RunScenarioLine(SimModem& modem, std::string_view line);

// Runs the lines of a file in order, up to the first one that fails. False then, or when the file cannot be read;
// `error` is "PATH:LINE: text" or "PATH: text".
KOR_EXPORT bool RunScenarioFile(SimModem& modem, const std::string& path, std::string& error);

}  // namespace kor::modem

// The same for hosts, which find them by name and link no modem. True with what the line has to say; false with what is
// wrong with it or, for a file, with `error` as above.
extern "C" {
KOR_EXPORT bool kwwan_modem_command(const char* line, std::string& reply);
KOR_EXPORT bool kwwan_modem_scenario(const char* path, std::string& error);
}
