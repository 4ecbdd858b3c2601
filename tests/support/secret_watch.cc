// SPDX-License-Identifier: Apache-2.0
#include "support/secret_watch.h"

#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "support/files.h"
#include "support/secrets.h"

namespace kor::test {

namespace {

using Clock = std::chrono::steady_clock;

constexpr sockaddr_un kLog{AF_UNIX, "/dev/log"};
const auto* const kLogAddress = reinterpret_cast<const sockaddr*>(&kLog);
constexpr char kEnd[] = "=== end of the watch ===";
constexpr std::chrono::milliseconds kLookPause{20};

// Whether there is a secret in it; standard error is told.
bool Found(const char* where, std::string text) {
  if (!HoldsASecret(text)) return false;
  std::replace(text.begin(), text.end(), '\0', ' ');
  (void)fprintf(stderr, "a secret in %s: %s\n", where, text.c_str());
  return true;
}

// At what does not last: argument lists, and the kernel's log, which in the sandbox is a file with the latest line.
bool Look() {
  bool found = Found("the kernel's log", ReadFile("/dev/kmsg"));
  std::error_code error;  // Processes end while they are looked at.
  for (const auto& entry : std::filesystem::directory_iterator("/proc", error)) {
    found = Found("an argument list", ReadFile((entry.path() / "cmdline").string())) || found;
  }
  return found;
}

// The exit status: 1 when a secret was seen.
int Watch(int fd) {
  bool found = false;
  auto next_look = Clock::now();
  std::vector<char> line(1 << 16);
  for (;;) {
    if (Clock::now() >= next_look) {
      found = Look() || found;
      next_look = Clock::now() + kLookPause;
    }
    pollfd ready{fd, POLLIN, 0};
    (void)poll(&ready, 1, static_cast<int>(kLookPause.count()));
    const ssize_t n = recv(fd, line.data(), line.size(), MSG_DONTWAIT);
    const std::string text(line.data(), n > 0 ? static_cast<size_t>(n) : 0);
    if (text == kEnd) return found ? 1 : 0;
    found = Found("the log", text) || found;
  }
}

}  // namespace

SecretWatch::SecretWatch() {
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const bool first = bind(fd, kLogAddress, sizeof(kLog)) == 0;
  if (first && (pid_ = fork()) == 0) _exit(Watch(fd));
  if (pid_ < 0 && (first || errno != EADDRINUSE)) {
    perror("the watch for secrets");
    abort();
  }
  close(fd);
  openlog(nullptr, LOG_NDELAY, LOG_USER);  // Its descriptor is there from the start: some tests count them.
}

bool SecretWatch::End() {
  if (pid_ < 0) return true;
  (void)signal(SIGCHLD, SIG_DFL);  // A test may ignore its children.
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const ssize_t sent = sendto(fd, kEnd, sizeof(kEnd) - 1, 0, kLogAddress, sizeof(kLog));
  close(fd);
  int status = -1;
  return sent > 0 && waitpid(pid_, &status, 0) == pid_ && status == 0;
}

}  // namespace kor::test
