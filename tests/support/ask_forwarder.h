// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

namespace kor::test {

// The answer to a DNS message that is sent to 127.0.0.1; empty when there is none within 200 ms.
inline std::string AskForwarder(const std::string& query) {
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in at{};
  at.sin_family = AF_INET;
  at.sin_port = htons(53);
  at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  char answer[512];
  ssize_t size = 0;
  pollfd ready{fd, POLLIN, 0};
  if (connect(fd, reinterpret_cast<const sockaddr*>(&at), sizeof(at)) == 0 &&
      send(fd, query.data(), query.size(), 0) > 0 && poll(&ready, 1, 200) == 1) {
    size = recv(fd, answer, sizeof(answer), 0);
  }
  close(fd);
  return {answer, size > 0 ? static_cast<size_t>(size) : 0};
}

}  // namespace kor::test
