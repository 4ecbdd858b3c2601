// SPDX-License-Identifier: Apache-2.0
#include "log_tail.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace kor::demo {

namespace {

constexpr char kPath[] = "/dev/log";
constexpr size_t kStampSize = 16;  // "Nov 24 16:00:00 "

int BindLogSocket() {
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::string(kPath).copy(address.sun_path, sizeof(address.sun_path) - 1);
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    throw std::system_error(errno, std::generic_category(), kPath);
  }
  return fd;
}

// "<14>Nov 24 16:00:00 demo: text\n" -> "demo: text"
std::string MessageOf(const std::string& datagram) {
  const size_t start = datagram.find('>');
  if (start == std::string::npos || datagram.size() < start + 1 + kStampSize) return datagram;
  std::string message = datagram.substr(start + 1 + kStampSize);
  while (!message.empty() && (message.back() == '\n' || message.back() == '\0')) message.pop_back();
  return message;
}

}  // namespace

LogTail::LogTail(std::function<void(const std::string&)> sink)
    : sink_(std::move(sink)), fd_(BindLogSocket()), thread_([this] { Read(); }) {}

LogTail::~LogTail() {
  shutdown(fd_, SHUT_RD);
  thread_.join();
  close(fd_);
  unlink(kPath);
}

void LogTail::Read() {
  std::array<char, 8192> buffer;
  for (;;) {
    const ssize_t size = recv(fd_, buffer.data(), buffer.size(), 0);
    if (size <= 0) return;
    sink_(MessageOf(std::string(buffer.data(), static_cast<size_t>(size))));
  }
}

}  // namespace kor::demo
