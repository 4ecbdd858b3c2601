// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <thread>

namespace kor::demo {

// Stands in the syslog daemon's place at /dev/log while it lives and hands over this machine's log lines as they come,
// on a thread of its own, with the priority and the time stamp taken off.
class LogTail {
 public:
  explicit LogTail(std::function<void(const std::string&)> sink);
  ~LogTail();
  LogTail(const LogTail&) = delete;
  LogTail& operator=(const LogTail&) = delete;

 private:
  void Read();

  const std::function<void(const std::string&)> sink_;
  const int fd_;
  std::thread thread_;
};

}  // namespace kor::demo
