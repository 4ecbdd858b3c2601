// SPDX-License-Identifier: Apache-2.0
// The few traces of start and end that also go to the kernel log, in the form of a log line.
//
// They travel through the shell, in a command cut at 4095 bytes: values are numbers, or words chosen by this library's
// code, never text from outside. One costs a process; nothing depends on it.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#define KOR_KERNEL_LOG(format, ...) KOR_KERNEL_LOG_AS(__PRETTY_FUNCTION__, format, ##__VA_ARGS__)

// The same under a given signature (g++ writes "static" before that of a static member).
#define KOR_KERNEL_LOG_AS(signature, format, ...) \
  kor::util::RunKernelLogCommand("echo \"%s %d: " format "\" > /dev/kmsg", signature, __LINE__, ##__VA_ARGS__)

namespace kor::util {

__attribute__((format(printf, 1, 2))) inline void RunKernelLogCommand(const char* format, ...) {
  char command[4096] = {};
  va_list args;
  va_start(args, format);
  vsnprintf(command, sizeof(command), format, args);
  va_end(args);
  // Of numbers and this library's own words, see above.
  [[maybe_unused]] const int status = system(command);  // NOLINT(cert-env33-c)
}

}  // namespace kor::util
