// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/epoll.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "at/at_dialog.h"
#include "at/at_terminal.h"
#include "at/owned_fd.h"
#include "at/pty_opens.h"
#include "common/condition.h"
#include "common/mutex.h"
#include "common/result.h"
#include "port/event_thread.h"
#include "port/lock_ranks.h"
#include "port/modem_port.h"

namespace kor::modem {

// The AT side of a modem: the names whose commands are forwarded, the terminals, and which forwarded
// command waits where.
//
// A forwarded command carries the place where it was typed as client_ref, and a number of its own in the first two
// words of client_data: an answer finds its command by both, or nobody.
//
// Thread safety: all operations may be called from any thread; only Type() waits. Reports come on the event thread
// without a lock held. Terminals are served by a thread of their own, which sleeps while nothing is typed. Lock order:
// this class's, then that of whoever answers `ask`, or the event thread's.
class AtModem {
 public:
  using Milliseconds = std::chrono::milliseconds;

  static constexpr size_t kMaxTerminals = 16;

  using Ask = std::function<AtReply(const AtCommand&)>;

  // `ask` answers what is not forwarded. `events` must outlive this object.
  AtModem(EventThread& events, Ask ask) : events_(events), ask_(std::move(ask)) {}

  // As ModemPort has them.
  void SetReport(ModemPort::AtReport report) KOR_EXCLUDES(mutex_);
  void RegisterNames(const std::list<std::string>& names) KOR_EXCLUDES(mutex_);
  kor::Result Answer(const AtCommand& command, bool ok, const std::string& text) KOR_EXCLUDES(mutex_);
  void Notify(const std::string& text) KOR_EXCLUDES(mutex_);

  // The modem starts anew: no name is registered any more, and a command that waits for its answer fails.
  void Reset() KOR_EXCLUDES(mutex_);

  std::string OpenTerminal() KOR_EXCLUDES(mutex_);
  std::string Type(const std::string& line) KOR_EXCLUDES(mutex_);
  void SetAnswerLimit(Milliseconds limit) KOR_EXCLUDES(mutex_);

 private:
  // A place where commands are typed: a terminal, or a call of Type().
  struct Place {
    AtDialog* dialog = nullptr;
    AtTerminal* terminal = nullptr;            // Null iff the place is a call of Type().
    kor::util::Condition* answered = nullptr;  // Signalled for that call.
    uint64_t awaited = 0;                      // The latest command that was forwarded from here.
  };

  // What the terminals' thread sleeps on.
  struct Watched {
    const OwnedFd epoll_fd{epoll_create1(EPOLL_CLOEXEC), "epoll_create1"};
    PtyOpens opens;
  };

  static void AnswerAt(const Place& place, bool ok, const std::string& text);
  static AtCommand Marked(const AtCommand& command, int32_t place, uint64_t number);
  bool ForwardLocked(int32_t place, const AtCommand& command) KOR_REQUIRES(mutex_);
  AtBackend BackendFor(int32_t place);
  void Report(AtCommand& command) KOR_EXCLUDES(mutex_);
  std::string AddTerminalLocked() KOR_REQUIRES(mutex_);
  void StartLocked() KOR_REQUIRES(mutex_);
  [[noreturn]] void ServeTerminals(int epoll_fd) KOR_EXCLUDES(mutex_);

  // Constant after construction.
  EventThread& events_;
  const Ask ask_;

  kor::util::Mutex mutex_{rank::kModemTerminals};
  ModemPort::AtReport report_ KOR_GUARDED_BY(mutex_);
  std::set<std::string> names_ KOR_GUARDED_BY(mutex_);  // In upper case.
  Milliseconds answer_limit_ KOR_GUARDED_BY(mutex_){60'000};
  std::map<int32_t, Place> places_ KOR_GUARDED_BY(mutex_);
  int32_t last_place_ KOR_GUARDED_BY(mutex_) = 0;
  uint64_t last_number_ KOR_GUARDED_BY(mutex_) = 0;
  std::unique_ptr<Watched> watched_ KOR_GUARDED_BY(mutex_);  // Null iff there is no thread for terminals yet.
  std::list<AtTerminal> terminals_ KOR_GUARDED_BY(mutex_);
};

}  // namespace kor::modem
