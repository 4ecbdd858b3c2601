// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "kwwand/own_files.h"
#include "shared/fd.h"

namespace kor::host {

using kor::tools::Fd;

// A host's place: the socket at a path, and the lock that tells whether its host lives.
//
// The lock is a file beside the socket, PATH.lock, held for the length of the process: whoever gets it knows that a
// socket at the path was left by a dead host, and takes it over. Both files are gone at the end.
//
// Thread safety: one thread.
class ListenSocket {
 public:
  // Makes the folder when it is missing; one where others could put a socket of theirs is refused. The socket never has
  // more permissions, or another group, than wanted. Throws std::runtime_error whose text says why there can be none:
  // another host is there, something else is in the way, ...
  ListenSocket(const std::string& path, mode_t mode, std::optional<gid_t> group);
  ~ListenSocket() { Release(); }
  ListenSocket(const ListenSocket&) = delete;
  ListenSocket& operator=(const ListenSocket&) = delete;

  int fd() const { return socket_.get(); }

  // Takes the socket away; the lock stays, so that a next host waits for the end of this one.
  void Close();

  // Takes the lock away too. The destructor does both.
  void Release();

 private:
  const std::string path_;
  LockFile lock_;
  Fd socket_;  // Open iff the path is ours.
};

}  // namespace kor::host
