// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

namespace kor::bench {

// A syslog daemon at /dev/log while it lives, in a process of its own on any processor: reads and forgets. Exits when
// /dev/log cannot be had: programs that use it run in the sandbox.
class LogReader {
 public:
  LogReader();
  ~LogReader();
  LogReader(const LogReader&) = delete;
  LogReader& operator=(const LogReader&) = delete;

 private:
  pid_t reader_;
};

}  // namespace kor::bench
