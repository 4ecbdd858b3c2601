// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace kor::host {

struct CommandEnd {
  enum How { kExited, kKilled, kTimedOut, kCancelled, kNotStarted } how = kNotStarted;
  int status = 0;      // kExited: the exit status; kKilled: the signal.
  std::string output;  // What it wrote, cut at the limit.
};

// "exit status 3", "killed by signal 9", "killed: it took too long"
std::string EndText(const CommandEnd& end);

// Runs /bin/sh -c `line` in a process group of its own, standard input and error on /dev/null, and waits for its end.
// `variables` ("NAME=value") are added to the process's environment. After `limit`, or as soon as `cancel` is set,
// the whole group is killed. Returns when the shell has ended: what it left in the background lives on.
//
// Throws std::bad_alloc, and then nothing has been run.
//
// Thread safety: may be called from any thread. Descriptors of the process are not handed on if they are close-on-exec.
CommandEnd RunShell(const std::string& line, const std::vector<std::string>& variables, std::chrono::milliseconds limit,
                    size_t max_output, const std::atomic<bool>& cancel);

}  // namespace kor::host
