// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "kutil/route_message.h"

namespace kor::util {

// A routing socket (rtnetlink) of the process's network namespace.
//
// Thread safety: one thread at a time.
class RouteSocket {
 public:
  enum class Status {
    kOk,
    kNothing,  // Nothing is waiting.
    kLost,     // Messages were dropped: too many were waiting, or one was too large.
    kFailed,
  };

  RouteSocket() = default;
  ~RouteSocket();
  RouteSocket(const RouteSocket&) = delete;
  RouteSocket& operator=(const RouteSocket&) = delete;

  // Opens the socket as a member of the multicast `groups` (RTMGRP_...): every change from now on arrives here.
  // `receive_buffer` is what may wait for being read, in bytes; 0 leaves the system's default. False with errno set.
  bool Open(uint32_t groups, int receive_buffer = 0);

  int fd() const { return fd_; }  // -1 until open.

  // The messages of the next datagram, without waiting for one. Senders other than the kernel are ignored.
  Status Receive(std::vector<RouteMessage>& messages);

 private:
  int fd_ = -1;
  std::vector<char> buffer_;
};

}  // namespace kor::util
