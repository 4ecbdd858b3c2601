// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <termios.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "at/owned_fd.h"
#include "at/pty_opens.h"

namespace kor::modem {

// The modem's end of a pseudo-terminal in raw mode: any program may open the other end by its path. Nothing blocks.
//
// The modem does not keep the other end open, so that it sees the last program leave: until the next one comes fd() is
// hung up, and for pollers ready for ever. Programs that come and go are noticed by a PtyOpens.
//
// Thread safety: for one thread at a time.
class Pty {
 public:
  // `opens` must outlive it. Throws std::system_error when there can be none.
  explicit Pty(PtyOpens& opens);

  const std::string& path() const { return path_; }
  int fd() const { return master_.get(); }

  // Whether a program has the other end open.
  bool IsOpen() const;

  // Whether the last program left since the last time; the next one may be there already.
  bool TakeLeaving() { return opens_.TakeLeaving(watch_); }

  // The program that is there has typed.
  void NoteUse() { opens_.NoteUse(watch_); }

  // Reads what was typed, and writes as much as there is room for; 0 when there is nothing, or no room. A pty that
  // echoes is told not to: what is written would come back as typed.
  size_t Read(char* buffer, size_t size);
  size_t Write(std::string_view text);

  // Raw mode, whatever a program has made of it.
  void SetMode();

  // Forgets what was written and nobody has read. Is itself seen as a program that comes and goes. False when there is
  // no descriptor left for that.
  bool Flush();

 private:
  void StopEcho();

  PtyOpens& opens_;
  const OwnedFd master_;
  const std::string path_;
  termios raw_{};
  int watch_ = -1;
};

}  // namespace kor::modem
