// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>

#include "at/owned_fd.h"

namespace kor::modem {

// Notices programs that open and close ptys. One for all of them: the system has few such watchers for each user.
//
// Thread safety: for one thread at a time.
class PtyOpens {
 public:
  // Throws std::system_error.
  PtyOpens();

  // Readable when there is something to notice.
  int fd() const { return fd_.get(); }

  // Watches the pty at `path` from now on: the number to ask for it by. Throws std::system_error.
  int Watch(const std::string& path);

  // Whether the pty's last program left since the last time; the next one may be there already.
  bool TakeLeaving(int watch);

  // A program is there: it has typed. To be told because the events alone lose count.
  void NoteUse(int watch);

  // Whether something was noticed, of any pty, since the last time.
  bool TakeNews();

 private:
  struct Opens {
    int count = 0;  // Programs' open descriptors, as far as is known: the kernel merges equal events.
    bool left = false;
  };

  void Notice();

  const OwnedFd fd_;
  std::map<int, Opens> opens_;
  bool news_ = false;
};

}  // namespace kor::modem
