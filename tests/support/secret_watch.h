// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

namespace kor::test {

// In the syslog daemon's place while a test program runs: a process that reads what is logged, by the program and by
// what it starts, and looks again and again at the kernel's log and at the argument lists of the sandbox's processes,
// for the tests' secrets. A SyslogReader takes the place over for a time and looks itself.
//
// Thread safety: for a process with one thread.
class SecretWatch {
 public:
  SecretWatch();

  // Ends it. True when there was no secret; standard error tells where one was.
  bool End();

 private:
  pid_t pid_ = -1;  // -1: another process's watch is there, that of which a death test started this one.
};

}  // namespace kor::test
