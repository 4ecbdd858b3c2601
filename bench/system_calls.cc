// SPDX-License-Identifier: Apache-2.0
#include "system_calls.h"

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace kor::bench {

namespace {

constexpr int kSystemCallStop = SIGTRAP | 0x80;  // As PTRACE_O_TRACESYSGOOD marks it.

[[noreturn]] void RunTraced(const std::function<void()>& work) {
  if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(1);
  raise(SIGSTOP);
  work();
  _exit(0);
}

// The stops of a child from its SIGSTOP to its end: two for each call, the last call's one alone.
int CountStops(const std::function<void()>& work) {
  const pid_t child = fork();
  if (child == 0) RunTraced(work);
  int status = 0;
  if (waitpid(child, &status, 0) != child || !WIFSTOPPED(status)) return -1;
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  int stops = 0;
  while (ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) == 0 && waitpid(child, &status, 0) == child) {
    if (!WIFSTOPPED(status)) break;
    if (WSTOPSIG(status) == kSystemCallStop) ++stops;
  }
  return stops;
}

}  // namespace

int CountSystemCalls(const std::function<void()>& work) {
  const int without = CountStops([] {});
  const int with = CountStops(work);
  return without < 0 || with < 0 ? -1 : (with - without) / 2;
}

}  // namespace kor::bench
