// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/interrupt_watcher.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "kwwanctl/command_error.h"

namespace kor::ctl {

InterruptWatcher::InterruptWatcher() {
  sigset_t ends;
  sigemptyset(&ends);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&ends, signal);
  signals_ = kor::tools::Fd(signalfd(-1, &ends, SFD_CLOEXEC | SFD_NONBLOCK));
  if (!signals_.is_open()) throw CommandError(kErrorFailure, "cannot wait for signals");
  sigaddset(&ends, SIGPIPE);
  sigprocmask(SIG_BLOCK, &ends, &before_);
}

InterruptWatcher::~InterruptWatcher() {
  // A signal that was heard has done its work.
  signalfd_siginfo heard;
  while (read(signals_.get(), &heard, sizeof(heard)) > 0) {
  }
  signals_.Close();
  sigset_t pipe;
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  constexpr timespec kNow{};
  (void)sigtimedwait(&pipe, nullptr, &kNow);
  sigprocmask(SIG_SETMASK, &before_, nullptr);
}

InterruptWatcher::Woken InterruptWatcher::Wait(int fd, std::optional<std::chrono::milliseconds> limit) {
  // Nothing is asked of standard output: poll() reports POLLERR and POLLHUP all the same.
  pollfd fds[] = {{signals_.get(), POLLIN, 0}, {STDOUT_FILENO, 0, 0}, {fd, POLLIN, 0}};
  const int timeout = limit ? static_cast<int>(std::clamp<int64_t>(limit->count(), 0, INT32_MAX)) : -1;
  int ready;
  do {
    ready = poll(fds, 3, timeout);
  } while (ready < 0 && errno == EINTR);
  if (fds[0].revents != 0 || (fds[1].revents & (POLLERR | POLLHUP)) != 0) return Woken::kInterrupted;
  return fds[2].revents != 0 ? Woken::kInput : Woken::kTimeout;
}

}  // namespace kor::ctl
