// SPDX-License-Identifier: Apache-2.0
#include "support/syslog_reader.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "support/secrets.h"
#include "support/wait.h"

namespace kor::test {

namespace {

constexpr char kPath[] = "/dev/log";
constexpr char kAside[] = "/dev/log.aside";  // Where another reader's socket waits meanwhile.
constexpr char kTag[] = "kwwan_test";
constexpr int64_t kLimitUs = std::chrono::microseconds(kLongEnough).count();
constexpr char kFence[] = "=== fence ===";

// "<15>Nov 24 16:00:00 kwwan_test: void f() 12: text" -> "7 void f() #: text". Empty: another program's line.
std::string Simplify(const std::string& datagram) {
  const std::string tag = std::string(kTag) + ": ";
  const size_t tag_at = datagram.find(tag);
  if (tag_at == std::string::npos) return {};
  const int priority = LOG_PRI(atoi(datagram.c_str() + 1));
  std::string message = datagram.substr(tag_at + tag.size());
  const size_t number = message.find(") ") + 2;
  const size_t end = message.find_first_not_of("0123456789", number);
  if (number > 1 && end != std::string::npos && end > number && message[end] == ':') {
    message.replace(number, end - number, "#");
  }
  return std::to_string(priority) + " " + message;
}

}  // namespace

SyslogReader::SyslogReader() {
  fd_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  snprintf(address.sun_path, sizeof(address.sun_path), "%s", kPath);
  (void)rename(kPath, kAside);
  if (bind(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    perror(kPath);
    abort();
  }
  closelog();  // The connection to the other reader.
  openlog(kTag, LOG_NDELAY, LOG_USER);
  thread_ = std::thread([this] { Read(); });
}

SyslogReader::~SyslogReader() {
  shutdown(fd_, SHUT_RD);  // First: it releases a thread that is blocked in sending, with the log locked.
  thread_.join();          // It has read what had been sent.
  close(fd_);
  closelog();
  if (rename(kAside, kPath) != 0) unlink(kPath);
  openlog(nullptr, LOG_NDELAY, LOG_USER);  // The connection to the other reader, as it was.
}

void SyslogReader::Read() {
  std::vector<char> buffer(1 << 20);
  for (;;) {
    const ssize_t n = recv(fd_, buffer.data(), buffer.size(), 0);
    if (n <= 0) return;
    const std::string datagram(buffer.data(), static_cast<size_t>(n));
    EXPECT_FALSE(HoldsASecret(datagram)) << datagram;
    const std::string line = Simplify(datagram);
    if (line.empty()) continue;
    kor::util::MutexLock lock(mutex_);
    if (line.find(kFence) == std::string::npos) {
      lines_.push_back(line);
    } else {
      ++fences_seen_;
      cond_.Signal();
    }
  }
}

std::vector<std::string> SyslogReader::Take() {
  syslog(LOG_DEBUG, "%s", kFence);
  ++fences_sent_;
  kor::util::MutexLock lock(mutex_);
  while (fences_seen_ < fences_sent_) {
    if (cond_.WaitUntil(mutex_, kLimitUs) == kor::Result::kSuccess) continue;
    ADD_FAILURE() << "the log does not arrive";
    break;
  }
  return std::exchange(lines_, {});
}

std::vector<std::string> SyslogReader::TakeWith(const std::string& text) {
  std::vector<std::string> found;
  for (auto& line : Take()) {
    if (line.find(text) != std::string::npos) found.push_back(std::move(line));
  }
  return found;
}

}  // namespace kor::test
