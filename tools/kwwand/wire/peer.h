// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <optional>
#include <vector>

#include "kwwand/wire/method.h"

namespace kor::host {

// Who is at the other end of a connection, as the kernel has it from the moment it connected.
struct Peer {
  uid_t uid = static_cast<uid_t>(-1);
  std::vector<gid_t> groups;  // The primary group first.
  pid_t pid = 0;
};

// Throws std::system_error.
Peer PeerOf(int fd);

// Groups whose members may do more than read.
struct Groups {
  std::optional<gid_t> change;
  std::optional<gid_t> run;
};

// What `peer` may do: everything when it is root or the host's own user, else what its groups give. Reading takes no
// more than the socket's permissions.
Access AccessOf(const Peer& peer, uid_t host, const Groups& groups);

}  // namespace kor::host
