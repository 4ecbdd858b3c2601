// SPDX-License-Identifier: Apache-2.0
#include "kwwand/wire/server.h"

#include <poll.h>
#include <sys/socket.h>
#include <syslog.h>

#include <algorithm>
#include <cinttypes>
#include <utility>
#include <vector>

namespace kor::host {

namespace {

constexpr int kAcceptPauseMs = 100;

}  // namespace

void Server::Run(int stop_fd) {
  while (Round(stop_fd)) {
  }
  Dismiss();
}

// One look at everything. False when it is time to stop.
bool Server::Round(int stop_fd) {
  std::vector<pollfd> fds = {{stop_fd, POLLIN, 0}, {mailbox_.fd(), POLLIN, 0}};
  fds.push_back({accept_paused_ ? -1 : listener_.fd(), POLLIN, 0});
  const size_t first_client = fds.size();
  for (const auto& [name, client] : clients_) fds.push_back({client.fd(), client.WantedEvents(), 0});
  if (poll(fds.data(), fds.size(), accept_paused_ ? kAcceptPauseMs : -1) < 0) {
    if (errno == EINTR) return true;
    throw kor::tools::SystemError("poll");
  }
  accept_paused_ = false;
  if (fds[0].revents != 0) return false;
  size_t i = first_client;
  for (auto& [name, client] : clients_) Serve(client, fds[i++].revents);
  if (fds[1].revents != 0) Deliver();
  for (auto& [name, client] : clients_) Advance(client);
  LimitUnread();
  SweepUp();
  if (fds[2].revents != 0) Accept();
  return true;
}

void Server::Accept() {
  for (;;) {
    Fd socket(accept4(listener_.fd(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (socket.is_open()) {
      Welcome(std::move(socket));
    } else if (errno != ECONNABORTED && errno != EINTR) {
      accept_paused_ = errno != EAGAIN;
      if (accept_paused_) syslog(LOG_WARNING, "cannot accept a client: %m");
      return;
    }
  }
}

void Server::Welcome(Fd socket) {
  if (clients_.size() >= kMaxClients) {
    syslog(LOG_WARNING, "client refused: %zu are connected", clients_.size());
    const std::string line = FormatError(nullptr, RequestError(kBusy, "busy: " + std::to_string(kMaxClients) +
                                                                          " clients are connected; try again later"));
    (void)send(socket.get(), line.data(), line.size(), MSG_NOSIGNAL);
    return;
  }
  Peer peer = PeerOf(socket.get());
  const Access access = AccessOf(peer, geteuid(), groups_);
  syslog(LOG_DEBUG, "client %" PRIu64 ": user %u, process %d", ++last_client_, peer.uid, peer.pid);
  clients_.try_emplace(last_client_, std::move(socket), Caller{last_client_, std::move(peer), access});
}

void Server::Deliver() {
  for (const Mail& mail : mailbox_.Take()) {
    mail.kind == Mail::Kind::kEvent ? Publish(mail.line) : Deliver(mail);
  }
}

void Server::Deliver(const Mail& mail) {
  const auto found = clients_.find(mail.client);
  if (found == clients_.end()) return;
  Connection& client = found->second;
  if (mail.kind == Mail::Kind::kProgress) {
    if (client.IsPending(mail.request) && !client.SendOrRefuse(mail.line)) CutOff(client);
    return;
  }
  if (!client.EndPending(mail.request)) return;
  client.Send(mail.line);
  if (mail.starts_events) client.StartEvents();
}

void Server::Publish(const std::string& line) {
  for (auto& [name, client] : clients_) {
    if (client.wants_events() && !client.SendOrRefuse(line)) CutOff(client);
  }
}

void Server::Serve(Connection& client, short ready) {
  if ((ready & (POLLHUP | POLLERR)) != 0) client.HangUp();
  if ((ready & POLLIN) != 0) client.Receive();
}

// Takes the requests that are there, and sends. Output that goes makes room for requests that no descriptor announces
// any more.
void Server::Advance(Connection& client) {
  bool took_any = true;
  while (took_any) {
    took_any = false;
    client.Flush();
    while (const auto line = client.NextLine()) {
      Handle(client, *line);
      took_any = true;
    }
  }
}

void Server::Handle(Connection& client, const LineBuffer::Line& line) {
  static const std::string kTooLong = "a line takes at most " + std::to_string(LineBuffer::kMaxLine) + " bytes";
  if (line.too_long) {
    client.Send(FormatError(nullptr, RequestError(kInvalidRequest, kTooLong)));
    return;
  }
  RpcRequest rpc = ParseRequest(line.text);
  const Json id = rpc.id;
  const uint64_t request = client.AddPending(id, line.text.size());
  try {
    if (rpc.error) throw RequestError(*rpc.error);
    if (stopping_) throw RequestError(kShuttingDown, "the host is shutting down");
    dispatcher_.Start(client.caller(), request, std::move(rpc));
  } catch (const RequestError& error) {
    (void)client.EndPending(request);
    client.Send(FormatError(id, error));
  }
}

void Server::CutOff(Connection& client) {
  syslog(LOG_WARNING, "client %" PRIu64 " (user %u, process %d) does not read its output: disconnected",
         client.caller().client, client.caller().peer.uid, client.caller().peer.pid);
  client.HangUp();
}

void Server::LimitUnread() {
  size_t all = 0;
  for (const auto& [name, client] : clients_) all += client.unread();
  while (all > kMaxUnread) {
    const auto most = std::max_element(clients_.begin(), clients_.end(), [](const auto& a, const auto& b) {
      return a.second.unread() < b.second.unread();
    });
    all -= most->second.unread();
    CutOff(most->second);
  }
}

void Server::SweepUp() {
  for (auto it = clients_.begin(); it != clients_.end();) {
    it = it->second.IsOver() ? clients_.erase(it) : std::next(it);
  }
}

void Server::Dismiss() {
  stopping_ = true;
  listener_.Close();
  Deliver();
  for (auto& [name, client] : clients_) {
    for (const Json& id : client.TakePending()) {
      client.Send(FormatError(
          id, RequestError(kShuttingDown, "the host is shutting down; the request may still be carried out")));
    }
    client.Flush();
    client.Receive();
    Advance(client);
  }
  clients_.clear();
}

}  // namespace kor::host
