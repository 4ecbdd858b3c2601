// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "at/at_line.h"

namespace kor::modem {

// An error of 3GPP TS 27.007 9.2.1.
struct AtError {
  int code;
  const char* text;
};

constexpr AtError kAtNotSupported{4, "operation not supported"};

struct AtReply {
  std::string info;              // Lines separated by '\n', or nothing.
  std::optional<AtError> error;  // Nothing: the command succeeded.
};

// What stands behind a terminal, whatever modem it is. Both are called from inside the terminal's operations, and must
// not call them.
struct AtBackend {
  // Forwards a command whose name is registered, and returns true; its answer follows.
  std::function<bool(const AtCommand&)> forward;

  // The modem's own answer to a command that is not forwarded; kAtNotSupported when it has none.
  std::function<AtReply(const AtCommand&)> ask;
};

}  // namespace kor::modem
