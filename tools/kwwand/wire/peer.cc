// SPDX-License-Identifier: Apache-2.0
#include "kwwand/wire/peer.h"

#include <sys/socket.h>

#include <algorithm>

#include "shared/fd.h"

namespace kor::host {

namespace {

// None where the kernel does not tell them.
std::vector<gid_t> SupplementaryGroupsOf(int fd) {
  std::vector<gid_t> groups(64);
  auto size = static_cast<socklen_t>(groups.size() * sizeof(gid_t));
  int rc = getsockopt(fd, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &size);
  if (rc != 0 && errno == ERANGE) {  // `size` says how many it takes.
    groups.resize(size / sizeof(gid_t));
    rc = getsockopt(fd, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &size);
  }
  groups.resize(rc == 0 ? size / sizeof(gid_t) : 0);
  return groups;
}

}  // namespace

Peer PeerOf(int fd) {
  ucred credentials{};
  socklen_t size = sizeof(credentials);
  if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) throw kor::tools::SystemError("SO_PEERCRED");
  Peer peer{credentials.uid, SupplementaryGroupsOf(fd), credentials.pid};
  peer.groups.insert(peer.groups.begin(), credentials.gid);
  return peer;
}

Access AccessOf(const Peer& peer, uid_t host, const Groups& groups) {
  const auto is_in = [&peer](std::optional<gid_t> group) {
    return group && std::find(peer.groups.begin(), peer.groups.end(), *group) != peer.groups.end();
  };
  if (peer.uid == 0 || peer.uid == host || is_in(groups.run)) return Access::kRun;
  return is_in(groups.change) ? Access::kChange : Access::kRead;
}

}  // namespace kor::host
