// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/epoll.h>
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

// Makes an epoll set ready when `fd` can be read. Throws std::system_error.
inline void AddForReading(int epoll_fd, int fd) {
  epoll_event wanted{};
  wanted.events = EPOLLIN;
  if (epoll_ctl(epoll_fd, EPOLL_CTL_ADD, fd, &wanted) == 0) return;
  throw std::system_error(errno, std::generic_category(), "epoll_ctl");
}

}  // namespace kor::modem
