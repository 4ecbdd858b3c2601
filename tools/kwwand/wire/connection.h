// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "kwwand/wire/dispatcher.h"
#include "kwwand/wire/line_buffer.h"
#include "shared/fd.h"

namespace kor::host {

using kor::tools::Fd;

// One client: its socket, the lines on their way in and out, and its requests that are not answered yet.
//
// Bounded in every direction. A client that asks faster than it reads or than answers come is not read from until it
// has caught up; nothing is lost, and what it can pile up is kMaxPending requests and their answers (see
// Server::kMaxUnread for all clients together). One that lets events pile up is disconnected. One that has gone is kept
// until its requests are done: otherwise a client that connects and leaves again and again could pile up any number of
// them.
//
// Thread safety: belongs to the loop's thread. Nothing here waits.
class Connection {
 public:
  static constexpr size_t kMaxPending = 64;
  static constexpr size_t kMuchPending = 64 * 1024;  // Bytes of requests; with more, no further one is taken.
  static constexpr size_t kMuchUnread = 64 * 1024;   // Bytes of output; with more, no request is taken.
  static constexpr size_t kMaxUnread = 256 * 1024;   // With more, no event or progress line is taken.

  Connection(Fd socket, Caller caller) : socket_(std::move(socket)), caller_(std::move(caller)) {}

  // Reads what is there, up to a measure.
  void Receive();

  // The next request's line, if a whole one is there and the client has not to catch up first.
  std::optional<LineBuffer::Line> NextLine();

  // A request of so many bytes that is to be answered later, under the number that this gives it.
  uint64_t AddPending(const Json& id, size_t bytes);
  // False when it is not pending (any more).
  bool EndPending(uint64_t request);
  bool IsPending(uint64_t request) const { return pending_.count(request) != 0; }
  // The ids of all of them, which are pending no more.
  std::vector<Json> TakePending();

  // An answer. Like all output, it is dropped when the client has gone.
  void Send(const std::string& line);
  // An event or a progress line. False when there is too much unread output already: the client reads too slowly.
  bool SendOrRefuse(const std::string& line);
  // Hands output over to the kernel, as much as it takes.
  void Flush();

  size_t unread() const { return output_.size(); }

  // poll()'s events, 0 when only the end is waited for.
  short WantedEvents() const;
  // Closes the socket; the client has gone.
  void HangUp();
  // Nothing more will come of it: what it asked for is done, and it has gone, or ended its input and been told all.
  bool IsOver() const;

  void StartEvents() { wants_events_ = true; }
  bool wants_events() const { return wants_events_; }
  const Caller& caller() const { return caller_; }
  int fd() const { return socket_.get(); }

 private:
  struct Pending {
    Json id;
    size_t bytes;
  };

  bool HasGone() const { return !socket_.is_open(); }
  bool HasToCatchUp() const;

  Fd socket_;
  const Caller caller_;
  LineBuffer input_;
  std::string output_;
  std::map<uint64_t, Pending> pending_;  // By number.
  size_t pending_bytes_ = 0;             // Of all of them.
  uint64_t last_request_ = 0;
  bool wants_events_ = false;
  bool input_ended_ = false;  // The client sends no more; it may still read.
};

}  // namespace kor::host
