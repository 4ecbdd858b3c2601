// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

namespace kor::tools {

// Owns a file descriptor and closes it; -1 when there is none.
class Fd {
 public:
  Fd() = default;
  explicit Fd(int fd) : fd_(fd) {}
  Fd(Fd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Fd& operator=(Fd&& other) noexcept {
    if (this != &other) Close();
    fd_ = std::exchange(other.fd_, fd_);
    return *this;
  }
  ~Fd() { Close(); }

  void Close() {
    if (fd_ >= 0) close(std::exchange(fd_, -1));
  }

  int get() const { return fd_; }
  bool is_open() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

// What the system's last refusal amounts to: "`what`: No such file or directory".
inline std::system_error SystemError(const std::string& what) {
  return std::system_error(errno, std::generic_category(), what);
}

// For the start of a program: whoever started it may have closed a standard stream, and the next file or socket would
// take its place and be written to. What is closed can be read, and is empty, but not written.
inline void OpenStandardStreams() {
  int fd = 0;
  while (fd >= 0 && fd <= STDERR_FILENO) fd = open("/dev/null", O_RDONLY);
  if (fd >= 0) close(fd);
}

}  // namespace kor::tools
