// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <termios.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "modem/owned_fd.h"

namespace kor::modem {

// The modem's end of a pseudo-terminal in raw mode: any program may open the other end by its path. Nothing blocks.
//
// The modem does not keep the other end open, so that it sees the last program leave: until the next one comes fd() is
// hung up, and for pollers ready for ever. opens_fd() becomes readable whenever a program opens or closes it.
//
// Thread safety: for one thread at a time.
class Pty {
 public:
  // Throws std::system_error when there can be none.
  Pty();

  const std::string& path() const { return path_; }
  int fd() const { return master_.get(); }
  int opens_fd() const { return opens_fd_.get(); }

  // Whether a program has the other end open.
  bool IsOpen() const;

  // Whether the last program left since the last time; the next one may be there already. Makes opens_fd() unreadable.
  bool TakeLeaving();

  // Reads what was typed, and writes as much as there is room for; 0 when there is nothing, or no room.
  size_t Read(char* buffer, size_t size);
  size_t Write(std::string_view text);

  // Forgets what was written and nobody has read, and what the last program did to the mode. Is itself seen as a
  // program that comes and goes. False when there is no descriptor left for that.
  bool Reset();

 private:
  const OwnedFd master_;
  const std::string path_;
  termios raw_{};
  const OwnedFd opens_fd_;
  int opens_ = 0;  // Programs' open descriptors, as far as the events tell: the kernel merges equal ones.
};

}  // namespace kor::modem
