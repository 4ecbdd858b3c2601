// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <unistd.h>

namespace kor::tools {

// For the start of a program: whoever started it may have closed a standard stream, and the next file or socket would
// take its place and be written to. What is closed can be read, and is empty, but not written.
inline void OpenStandardStreams() {
  int fd = 0;
  while (fd >= 0 && fd <= STDERR_FILENO) fd = open("/dev/null", O_RDONLY);
  if (fd >= 0) close(fd);
}

}  // namespace kor::tools
