// SPDX-License-Identifier: Apache-2.0
// system(), in the place of the C library's for every library of the process: bounded, and a failure is in the log. The
// library starts dnsmasq by it, with its service locked, and looks at no result; a dnsmasq that hangs would hold up all
// that has to do with DNS, for ever.
#include <dlfcn.h>
#include <signal.h>
#include <sys/wait.h>
#include <syslog.h>

#include <atomic>
#include <chrono>
#include <new>
#include <string>

#include "kwwand/methods/shell_command.h"

namespace kor::host {

namespace {

constexpr std::chrono::seconds kLimit{5};
constexpr size_t kMaxComplaint = 256;

// It takes no memory and no descriptor: where there is none, dnsmasq still has to be killed. Looked up before there is
// any thread.
const auto kLibrarysOwn = reinterpret_cast<int (*)(const char*)>(dlsym(RTLD_NEXT, "system"));

int Run(const char* line) {
  static const std::atomic<bool> kNever{false};
  const CommandEnd end = RunShell(std::string("exec 2>&1; ") + line, {}, kLimit, kMaxComplaint, kNever);
  if (end.how == CommandEnd::kNotStarted) return kLibrarysOwn(line);
  if (end.how == CommandEnd::kExited && end.status == 0) return 0;
  syslog(LOG_WARNING, "the command [%s]: %s %s\n", line, EndText(end).c_str(), end.output.c_str());
  return end.how == CommandEnd::kExited ? W_EXITCODE(end.status, 0) : W_EXITCODE(0, SIGKILL);
}

}  // namespace

extern "C" {
__attribute__((visibility("default"))) int HostSystem(const char* line) __asm__("system");

// Requires: a line.
int HostSystem(const char* line) try { return Run(line); } catch (const std::bad_alloc&) {
  return kLibrarysOwn(line);
}
}

}  // namespace kor::host
