// SPDX-License-Identifier: Apache-2.0
#include "kutil/route_socket.h"

#include <linux/netlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace kor::util {

namespace {

constexpr size_t kDatagramSize = 64 * 1024;  // Twice what the kernel puts into one answer.

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
  errno = error;
  return false;
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

}  // namespace kor::util
