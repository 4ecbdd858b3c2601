// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/session.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace kor::ctl {
namespace {

constexpr size_t kLongestMessage = 16u << 20;  // More than any answer of kwwand.
constexpr int kDeepestMessage = 32;            // Likewise. What copies or prints JSON calls itself at each level.

std::string Hint(int error) {
  switch (error) {
    case ENOENT:
    case ECONNREFUSED:
      return " Is kwwand running?";
    case EACCES:
      return " Only root and the members of the host's --group may open it.";
    default:
      return "";
  }
}

CommandError Unreachable(const std::string& path, int error) {
  return {kErrorUnreachable, "cannot reach the host at " + path + ": " + strerror(error) + "." + Hint(error)};
}

sockaddr_un Address(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) throw Unreachable(path, ENAMETOOLONG);
  std::copy(path.begin(), path.end(), address.sun_path);
  return address;
}

CommandError HostError(const Json& error) {
  return {error.value("code", static_cast<int>(kErrorFailure)), error.value("message", "the host gave no reason"),
          error.contains("data") ? error["data"] : Json()};
}

Json Parse(const std::string& line) {
  bool too_deep = false;
  const auto keep = [&too_deep](int depth, Json::parse_event_t, const Json&) {
    too_deep = too_deep || depth > kDeepestMessage;
    return !too_deep;
  };
  Json message = Json::parse(line, keep);
  if (too_deep) throw NotUnderstood("it nests too deep");
  return message;
}

}  // namespace

void Session::Open() {
  const sockaddr_un address = Address(path_);
  fd_ = kor::tools::Fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!fd_.is_open() || connect(fd(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    throw Unreachable(path_, errno);
  }
}

Json Session::Call(const std::string& method, const Json& params, Milliseconds limit, const Watcher& watcher) {
  const Time end = std::chrono::steady_clock::now() + limit;
  if (!fd_.is_open()) Open();
  const int id = ++last_id_;
  Send(Json{{"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", params}}.dump() + '\n', end);
  return Await(id, end, watcher);
}

void Session::Send(const std::string& line, Time end) {
  for (size_t sent = 0; sent < line.size();) {
    if (!WaitUntil(POLLOUT, end)) throw CommandError(kErrorTimeout, "the host accepts no request");
    const ssize_t n = send(fd(), line.data() + sent, line.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (n < 0 && errno != EAGAIN && errno != EINTR) return;  // Gone, maybe with a word of why: Await() reads it.
    if (n > 0) sent += static_cast<size_t>(n);
  }
}

Json Session::Await(int id, Time end, const Watcher& watcher) {
  for (Time now = std::chrono::steady_clock::now(); now < end; now = std::chrono::steady_clock::now()) {
    while (const auto message = TakeMessage()) {
      const bool mine = message->contains("id") && ((*message)["id"].is_null() || (*message)["id"] == id);
      if (mine && message->contains("error")) throw HostError((*message)["error"]);
      if (mine) return message->at("result");
      Keep(*message, watcher);
    }
    if (WaitUntil(POLLIN, watcher ? std::min(end, now + kTick) : end)) Receive();
    if (watcher) watcher(nullptr);
  }
  throw CommandError(kErrorTimeout, "the host did not answer in time");
}

bool Session::WaitUntil(short events, Time end) {
  const auto left = std::chrono::ceil<Milliseconds>(end - std::chrono::steady_clock::now());
  pollfd ready{fd(), events, 0};
  return poll(&ready, 1, static_cast<int>(std::max<int64_t>(left.count(), 0))) > 0;
}

void Session::Receive() {
  char part[16384];
  const ssize_t n = recv(fd(), part, sizeof(part), MSG_DONTWAIT);
  if (n == 0) Gone("the host closed the connection");
  if (n < 0 && errno != EAGAIN && errno != EINTR) Gone(std::string("the host is gone: ") + strerror(errno));
  if (n > 0) received_.append(part, static_cast<size_t>(n));
  if (received_.size() > kLongestMessage) Gone("the host's answer is too long");
}

std::optional<Json> Session::TakeMessage() {
  const size_t end = received_.find('\n', searched_);
  searched_ = received_.size();
  if (end == std::string::npos) return std::nullopt;
  const std::string line = received_.substr(0, end);
  received_.erase(0, end + 1);
  searched_ = 0;
  return Parse(line);
}

void Session::Keep(const Json& message, const Watcher& watcher) {
  if (!message.contains("method") || !message["method"].is_string())
    return;  // The late answer to a request that was given up.
  Notification notification{message["method"].get<std::string>(), message.value("params", Json::object())};
  if (watcher) return watcher(&notification);
  kept_.push_back(std::move(notification));
}

std::optional<Session::Notification> Session::Next() {
  while (kept_.empty()) {
    if (const auto message = TakeMessage()) {
      Keep(*message, nullptr);
    } else if (WaitUntil(POLLIN, std::chrono::steady_clock::now())) {
      Receive();
    } else {
      return std::nullopt;
    }
  }
  Notification first = std::move(kept_.front());
  kept_.pop_front();
  return first;
}

void Session::Gone(const std::string& why) {
  throw CommandError(kErrorUnreachable, why + " (" + path_ + "). The request may or may not have been carried out.");
}

}  // namespace kor::ctl
