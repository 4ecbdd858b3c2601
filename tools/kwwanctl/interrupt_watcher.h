// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <csignal>
#include <optional>

#include "shared/fd.h"

namespace kor::ctl {

// Tells when a command that runs until it is interrupted has to end: SIGINT, SIGTERM or SIGHUP, or the reader of
// standard output has closed it. While it lives, these signals and SIGPIPE do not end the process.
//
// Thread safety: none, the process's only thread. At most one object at a time.
class InterruptWatcher {
 public:
  enum class Woken { kInput, kTimeout, kInterrupted };

  InterruptWatcher();
  ~InterruptWatcher();
  InterruptWatcher(const InterruptWatcher&) = delete;
  InterruptWatcher& operator=(const InterruptWatcher&) = delete;

  // Until `fd` can be read (-1: none), `limit` has passed, or the command has to end, which comes first.
  Woken Wait(int fd, std::optional<std::chrono::milliseconds> limit);

 private:
  sigset_t before_{};
  kor::tools::Fd signals_;
};

}  // namespace kor::ctl
