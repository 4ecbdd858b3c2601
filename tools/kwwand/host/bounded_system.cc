// SPDX-License-Identifier: Apache-2.0
// system(), in the place of the C library's for every library of the process: bounded, and a failure is in the log. The
// library starts dnsmasq by it, with its service locked, and looks at no result; a dnsmasq that hangs would hold up all
// that has to do with DNS, for ever. A device's own libraries are bounded with it.
#include <dlfcn.h>
#include <signal.h>
#include <sys/wait.h>
#include <syslog.h>

#include <atomic>
#include <chrono>
#include <new>
#include <string>
#include <string_view>

#include "kwwand/host/shell_command.h"

namespace kor::host {

namespace {

// Beside two and a half seconds of a refresh it has to fit into what a stop is given.
constexpr std::chrono::milliseconds kLimit{1500};
constexpr size_t kMaxComplaint = 256;

// It takes no memory and no descriptor: where there is none, dnsmasq still has to be killed. Looked up before there is
// any thread.
const auto kLibrarysOwn = reinterpret_cast<int (*)(const char*)>(dlsym(RTLD_NEXT, "system"));

// Nothing depends on one, and in a container the kernel's log can seldom be written.
bool IsKernelTrace(std::string_view line) {
  constexpr std::string_view kEnd = "> /dev/kmsg";
  return line.size() >= kEnd.size() && line.substr(line.size() - kEnd.size()) == kEnd;
}

// Throws std::bad_alloc only when nothing has been run.
CommandEnd Run(const char* line) {
  static const std::atomic<bool> kNever{false};
  return RunShell(std::string("exec 2>&1; ") + line, {}, kLimit, kMaxComplaint, kNever);
}

void LogFailure(const char* line, const CommandEnd& end) {
  if (IsKernelTrace(line)) return;
  try {
    syslog(LOG_WARNING, "the command [%s]: %s %s\n", line, EndText(end).c_str(), end.output.c_str());
  } catch (const std::bad_alloc&) {
    syslog(LOG_WARNING, "the command [%s] failed\n", line);
  }
}

}  // namespace

extern "C" {
__attribute__((visibility("default"))) int HostSystem(const char* line) __asm__("system");

int HostSystem(const char* line) {
  if (line == nullptr) return kLibrarysOwn(nullptr);
  CommandEnd end;
  try {
    end = Run(line);
  } catch (const std::bad_alloc&) {
  }
  if (end.how == CommandEnd::kNotStarted) return kLibrarysOwn(line);
  if (end.how == CommandEnd::kExited && end.status == 0) return 0;
  LogFailure(line, end);
  return end.how == CommandEnd::kExited ? W_EXITCODE(end.status, 0) : W_EXITCODE(0, SIGKILL);
}
}

}  // namespace kor::host
