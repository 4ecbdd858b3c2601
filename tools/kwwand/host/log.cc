// SPDX-License-Identifier: Apache-2.0
#include "kwwand/host/log.h"

#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "shared/escape.h"

namespace kor::host {

namespace {

bool g_to_stderr = false;

// Without memory the line is in the system's log alone.
__attribute__((format(printf, 1, 0))) void Show(const char* format, va_list arguments) try {
  char* text = nullptr;
  if (vasprintf(&text, format, arguments) < 0) return;
  std::string line = "kwwand[" + std::to_string(getpid()) + "]: ";
  std::string_view rest(text);
  while (!rest.empty() && rest.back() == '\n') rest.remove_suffix(1);
  line += kor::tools::Escape(rest) + '\n';
  free(text);
  [[maybe_unused]] const ssize_t n = write(STDERR_FILENO, line.data(), line.size());
} catch (...) {
}

__attribute__((format(printf, 2, 0))) void Log(int priority, const char* format, va_list arguments) {
  const int error = errno;  // "%m"
  va_list again;
  va_copy(again, arguments);
  vsyslog(priority, format, arguments);
  errno = error;
  if (g_to_stderr && (setlogmask(0) & LOG_MASK(LOG_PRI(priority))) != 0) Show(format, again);
  errno = error;
  va_end(again);
}

}  // namespace

// In the place of the C library's functions, for every library of the process: its LOG_PERROR shows lines as they are,
// and they cannot be had in another way. The second is what a program calls that was built with checked functions.
extern "C" {
__attribute__((visibility("default"), format(printf, 2, 3))) void HostSyslog(int priority, const char* format,
                                                                             ...) __asm__("syslog");
__attribute__((visibility("default"), format(printf, 3, 4))) void HostCheckedSyslog(int priority, int flag,
                                                                                    const char* format,
                                                                                    ...) __asm__("__syslog_chk");

void HostSyslog(int priority, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Log(priority, format, arguments);
  va_end(arguments);
}

void HostCheckedSyslog(int priority, int, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Log(priority, format, arguments);
  va_end(arguments);
}
}

void OpenLog(int level, bool to_stderr) {
  openlog("kwwand", LOG_PID, LOG_DAEMON);
  setlogmask(LOG_UPTO(level));
  g_to_stderr = to_stderr;
}

}  // namespace kor::host
