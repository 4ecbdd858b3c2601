// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>
#include <syslog.h>

#include <optional>
#include <string>

#include "kwwand/wire/peer.h"

namespace kor::host {

// What the command line asks for. Paths are absolute, so that they hold in the background too.
struct Options {
  std::string socket = "/run/kwwand/kwwand.sock";
  mode_t mode = 0660;
  Groups groups;  // That for changes owns the socket.
  bool daemon = false;
  std::string pid_file;  // Empty: none.
  int log_level = LOG_INFO;
  bool log_to_stderr = false;
  std::string modem;       // NAME or NAME:ARGUMENT; empty: what the environment says.
  std::string scenario;    // Empty: none.
  std::string backoff_ms;  // "MIN MAX"; empty: what the environment says.
};

// None when there is nothing more to do: help or version was wanted, or the command line is wrong and standard error
// says what, naming the option and what it takes. `status` is then the process's exit status, 0 or 2.
std::optional<Options> ParseOptions(int argc, char** argv, int& status);

}  // namespace kor::host
