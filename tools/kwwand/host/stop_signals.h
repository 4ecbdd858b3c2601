// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "shared/fd.h"

namespace kor::host {

using kor::tools::Fd;

// SIGTERM, SIGINT and SIGHUP as a descriptor, and the promise that the process ends soon after the first of them: when
// it is still there after 4.8 s, whatever it does, it is ended with status 1.
//
// Signals are caught, not blocked or ignored: what the library starts, such as dnsmasq, would inherit that. SIGPIPE is
// caught and forgotten for the same reason. The host's own system() lets SIGINT through while a command runs.
//
// One per process, for its whole life.
class StopSignals {
 public:
  // Throws std::system_error.
  StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

  // Readable for ever once one has come.
  int fd() const { return read_end_.get(); }

 private:
  Fd read_end_;
};

}  // namespace kor::host
