// SPDX-License-Identifier: Apache-2.0
#include "kutil/route_socket.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace kor::util {

namespace {

constexpr size_t kDatagramSize = 64 * 1024;  // Twice what the kernel puts into one answer.
constexpr int kDumpAttempts = 8;             // Each interrupted one adds to the result, so the last may be, too.
constexpr int kAnswerMs = 1000;              // An answer is there when the request returns; a guard against a hang.

bool Fail(int error) {
  errno = error;
  return false;
}

bool SendDumpRequest(int fd) {
  struct {
    nlmsghdr header;
    ifinfomsg link;
  } request{};
  request.header.nlmsg_len = sizeof(request);
  request.header.nlmsg_type = RTM_GETLINK;
  request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  return send(fd, &request, sizeof(request), 0) == static_cast<ssize_t>(sizeof(request));
}

RouteSocket::Status Await(RouteSocket& socket, std::vector<RouteMessage>& messages) {
  pollfd ready{socket.fd(), POLLIN, 0};
  if (poll(&ready, 1, kAnswerMs) != 0) return socket.Receive(messages);
  errno = ETIMEDOUT;
  return RouteSocket::Status::kFailed;
}

// One request and its answer; `interrupted` when links changed meanwhile.
bool ReadLinksOnce(std::map<int, std::string>& names, bool& interrupted) {
  RouteSocket socket;
  if (!socket.Open(0) || !SendDumpRequest(socket.fd())) return false;
  std::vector<RouteMessage> messages;
  for (;;) {
    const RouteSocket::Status status = Await(socket, messages);
    if (status == RouteSocket::Status::kFailed) return false;
    if (status == RouteSocket::Status::kLost) interrupted = true;
    for (RouteMessage& message : messages) {
      interrupted = interrupted || message.interrupted;
      if (message.kind == RouteMessage::Kind::kDumpDone) return true;
      if (message.kind == RouteMessage::Kind::kDumpFailed) return Fail(EIO);
      if (message.kind == RouteMessage::Kind::kLink) names[message.index] = std::move(message.name);
    }
  }
}

}  // namespace

RouteSocket::~RouteSocket() {
  if (fd_ != -1) close(fd_);
}

bool RouteSocket::Open(uint32_t groups, int receive_buffer) {
  fd_ = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
  if (fd_ == -1) return false;
  if (receive_buffer > 0) setsockopt(fd_, SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof(receive_buffer));
  buffer_.resize(kDatagramSize);
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = groups;
  if (bind(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) return true;
  const int error = errno;
  close(std::exchange(fd_, -1));
  return Fail(error);
}

RouteSocket::Status RouteSocket::Receive(std::vector<RouteMessage>& messages) {
  messages.clear();
  sockaddr_nl sender{};
  iovec part{buffer_.data(), buffer_.size()};
  msghdr header{};
  header.msg_name = &sender;
  header.msg_namelen = sizeof(sender);
  header.msg_iov = &part;
  header.msg_iovlen = 1;
  const ssize_t size = recvmsg(fd_, &header, MSG_DONTWAIT);
  if (size < 0) {
    if (errno == ENOBUFS) return Status::kLost;
    if (errno == EINTR) return Status::kOk;
    return errno == EAGAIN ? Status::kNothing : Status::kFailed;
  }
  if (sender.nl_pid != 0) return Status::kOk;
  messages = ParseRouteMessages({buffer_.data(), static_cast<size_t>(size)});
  return (header.msg_flags & MSG_TRUNC) != 0 ? Status::kLost : Status::kOk;
}

bool ReadLinks(std::map<int, std::string>& names) {
  for (int attempt = 0; attempt < kDumpAttempts; ++attempt) {
    bool interrupted = false;
    if (!ReadLinksOnce(names, interrupted)) return false;
    if (!interrupted) return true;
  }
  return true;
}

}  // namespace kor::util
