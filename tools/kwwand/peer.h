// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <optional>
#include <vector>

namespace kor::host {

// Who is at the other end of a connection, as the kernel has it from the moment it connected.
struct Peer {
  uid_t uid = static_cast<uid_t>(-1);
  std::vector<gid_t> groups;  // The primary group first.
  pid_t pid = 0;
};

// Throws std::system_error.
Peer PeerOf(int fd);

// Whether `peer` may change things: root, the host's own user, a member of the group. Reading takes no more than the
// socket's permissions.
bool MayChange(const Peer& peer, uid_t host, std::optional<gid_t> group);

}  // namespace kor::host
