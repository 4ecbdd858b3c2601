// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/mutex.h"
#include "kwwand/fd.h"
#include "kwwand/lock_ranks.h"

namespace kor::host {

// One line on its way from some thread to the clients.
struct Mail {
  enum class Kind { kAnswer, kProgress, kEvent };

  Kind kind = Kind::kEvent;
  std::string line;
  uint64_t client = 0;         // Of an answer or a progress line: whose,
  uint64_t request = 0;        // and to which request.
  bool starts_events = false;  // Of an answer: events follow it from now on.
};

// Where all threads leave lines and the loop's thread fetches them, woken by a descriptor.
//
// Thread safety: any thread may post at any time, without waiting for the loop.
class Mailbox {
 public:
  // Throws std::system_error.
  Mailbox();

  void Post(Mail mail) KOR_EXCLUDES(mutex_);

  // All there is, in the order in which it was posted.
  std::vector<Mail> Take() KOR_EXCLUDES(mutex_);

  // Readable while there is any.
  int fd() const { return event_fd_.get(); }

 private:
  const Fd event_fd_;
  kor::util::Mutex mutex_{rank::kMailbox};
  std::vector<Mail> mails_ KOR_GUARDED_BY(mutex_);
};

}  // namespace kor::host
