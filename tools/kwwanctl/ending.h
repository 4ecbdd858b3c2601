// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <csignal>
#include <optional>

namespace kor::ctl {

// The end of a command that goes on until somebody has had enough of it: SIGINT, SIGTERM or SIGHUP, or the reader of
// standard output goes. While it lives, these signals and SIGPIPE do not end the process.
//
// Thread safety: none, the process's only thread. At most one object at a time.
class Ending {
 public:
  enum class Woken { kInput, kTimeout, kEnd };

  Ending();
  ~Ending();
  Ending(const Ending&) = delete;
  Ending& operator=(const Ending&) = delete;

  // Until `fd` can be read (-1: none), `limit` has passed, or the command ends; the end comes first.
  Woken Wait(int fd, std::optional<std::chrono::milliseconds> limit);

 private:
  sigset_t before_{};
  int signals_ = -1;
};

}  // namespace kor::ctl
