// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/condition.h"
#include "common/mutex.h"
#include "kwwand/lock_ranks.h"
#include "shared/fd.h"

namespace kor::host {

using kor::tools::Fd;

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
// Bounded: each client's unread events are limited behind it, and who brings an answer waits while kMuchWaiting bytes
// lie here, so that a lane is not ahead of the loop by more than that.
//
// Thread safety: any thread may post at any time. Post() waits for nothing.
class Mailbox {
 public:
  // Throws std::system_error.
  Mailbox();

  static constexpr size_t kMuchWaiting = 1024 * 1024;

  void Post(Mail mail) KOR_EXCLUDES(mutex_);

  // The same, as soon as there is room for more. From Close() on, nothing waits.
  void PostAnswer(Mail mail) KOR_EXCLUDES(mutex_);
  void Close() KOR_EXCLUDES(mutex_);

  // All there is, in the order in which it was posted.
  std::vector<Mail> Take() KOR_EXCLUDES(mutex_);

  // Readable while there is any.
  int fd() const { return event_fd_.get(); }

 private:
  void Add(Mail mail) KOR_REQUIRES(mutex_);

  const Fd event_fd_;
  kor::util::Mutex mutex_{rank::kMailbox};
  kor::util::Condition room_cond_;  // Whoever has found room passes it on.
  std::vector<Mail> mails_ KOR_GUARDED_BY(mutex_);
  size_t bytes_ KOR_GUARDED_BY(mutex_) = 0;  // Of all of them.
  bool closed_ KOR_GUARDED_BY(mutex_) = false;
};

}  // namespace kor::host
