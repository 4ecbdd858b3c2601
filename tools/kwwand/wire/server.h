// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>

#include "kwwand/wire/connection.h"
#include "kwwand/wire/dispatcher.h"
#include "kwwand/wire/listen_socket.h"
#include "kwwand/wire/mailbox.h"

namespace kor::host {

// The host's loop: one thread that takes connections, requests and the mailbox's lines as they come and waits for
// nothing else. What a request does happens elsewhere (see Dispatcher); what a client does or does not do costs the
// others nothing.
//
// A client that goes away leaves its requests running, and counts as one of kMaxClients until they are done; their
// answers are dropped. One that only ends its input is answered first.
class Server {
 public:
  static constexpr size_t kMaxClients = 128;
  // Bytes that all clients together have not read; with more, the one with the most of them is cut off. A client alone
  // may have more unread than an event's measure: the answers to what it asked before it stopped reading.
  static constexpr size_t kMaxUnread = 8 * 1024 * 1024;

  // Requires: the others outlive this.
  Server(ListenSocket& listener, Mailbox& mailbox, Dispatcher& dispatcher, const Groups& groups)
      : listener_(listener), mailbox_(mailbox), dispatcher_(dispatcher), groups_(groups) {}

  // Serves until `stop_fd` can be read. Then no one can connect any more, whatever was asked and is not answered is
  // answered kShuttingDown, and the connections are closed. Throws std::system_error.
  void Run(int stop_fd);

 private:
  bool Round(int stop_fd);
  void Accept();
  void Welcome(Fd socket);
  void Deliver();
  void Deliver(const Mail& mail);
  void Publish(const std::string& line);
  void Serve(Connection& client, short ready);
  void Advance(Connection& client);
  void Handle(Connection& client, const LineBuffer::Line& line);
  void CutOff(Connection& client);
  void LimitUnread();
  void SweepUp();
  void Dismiss();

  ListenSocket& listener_;
  Mailbox& mailbox_;
  Dispatcher& dispatcher_;
  const Groups groups_;
  std::map<uint64_t, Connection> clients_;
  uint64_t last_client_ = 0;
  bool accept_paused_ = false;  // There was no descriptor for a client: a round without new ones.
  bool stopping_ = false;
};

}  // namespace kor::host
