// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <string_view>

#include "support/wait.h"

namespace kor::test {

// A terminal program: types at a pty and reads what it shows.
class Terminal {
 public:
  explicit Terminal(const std::string& path) : fd_(open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC)) {}
  ~Terminal() { HangUp(); }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  void HangUp() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
  }

  bool Type(std::string_view text) { return write(fd_, text.data(), text.size()) == static_cast<ssize_t>(text.size()); }

  // What is shown up to `end`, that included, with "<" for CR and "/" for LF; what there is when `end` does not come.
  std::string ReadTo(const std::string& end) {
    std::string shown;
    char c = 0;
    pollfd ready{fd_, POLLIN, 0};
    constexpr int kLimitMs = std::chrono::milliseconds(kLongEnough).count();
    constexpr size_t kMost = 200'000;  // Nothing that is looked for is so far away.
    while (shown.size() < end.size() || shown.compare(shown.size() - end.size(), end.size(), end) != 0) {
      if (shown.size() > kMost || poll(&ready, 1, kLimitMs) != 1 || read(fd_, &c, 1) != 1) return shown + " (no more)";
      shown += c == '\r' ? '<' : c == '\n' ? '/' : c;
    }
    return shown;
  }

  // Types a line whose echo is off, and reads what is shown to its final result.
  std::string Do(const std::string& line, const std::string& end = "</OK</") {
    Type(line + "\r");
    return ReadTo(end);
  }

 private:
  int fd_;
};

}  // namespace kor::test
