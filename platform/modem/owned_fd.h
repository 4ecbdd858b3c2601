// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace kor::modem {

// A file descriptor that is closed at the end of its owner's life.
class OwnedFd {
 public:
  // Takes `fd` over. Throws std::system_error, which names `what`, when the call that was to give it has failed (-1).
  OwnedFd(int fd, const char* what) : fd_(fd) {
    if (fd < 0) throw std::system_error(errno, std::generic_category(), what);
  }
  ~OwnedFd() { close(fd_); }
  OwnedFd(const OwnedFd&) = delete;
  OwnedFd& operator=(const OwnedFd&) = delete;

  int get() const { return fd_; }

 private:
  const int fd_;
};

}  // namespace kor::modem
