// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <optional>
#include <string>

#include "kwwanctl/command_error.h"
#include "shared/fd.h"

namespace kor::ctl {

// One connection to the host, opened by the first use. Every wait is bounded.
//
// Thread safety: none, one thread. Ownership: owns its socket. What fails throws CommandError: the host's own error,
// kErrorTimeout, or kErrorUnreachable when there is no host or it goes away; an answer that
// is not one, a Json::exception.
//
//   Session session("/run/kwwand/kwwand.sock");
//   Json status = session.Call("host.status", Json::object());
class Session {
 public:
  using Milliseconds = std::chrono::milliseconds;
  static constexpr Milliseconds kAnswerLimit{30'000};  // More than any request takes but a scan of the networks.
  static constexpr Milliseconds kTick{100};

  struct Notification {
    std::string method;  // "progress", "event"
    Json params;
  };

  // Hears of a request under way: its notifications, and nullptr every kTick.
  using Watcher = std::function<void(const Notification*)>;

  explicit Session(std::string socket_path) : path_(std::move(socket_path)) {}
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Asks and waits for the answer, the "result" of it. Notifications that come meanwhile go to `watcher`; without one
  // they are kept for Next().
  Json Call(const std::string& method, const Json& params, Milliseconds limit = kAnswerLimit,
            const Watcher& watcher = nullptr);

  // The next notification if one is there already; never waits. Poll fd() for reading until there is.
  std::optional<Notification> Next();

  int fd() const { return fd_.get(); }  // -1 before the first use.
  const std::string& path() const { return path_; }

 private:
  using Time = std::chrono::steady_clock::time_point;

  void Open();
  void Send(const std::string& line, Time end);
  Json Await(int id, Time end, const Watcher& watcher);
  bool WaitUntil(short events, Time end);
  void Receive();
  std::optional<Json> TakeMessage();
  void Keep(const Json& message, const Watcher& watcher);
  [[noreturn]] void Gone(const std::string& why);

  std::string path_;
  kor::tools::Fd fd_;
  int last_id_ = 0;
  std::string received_;  // What has come and is not taken yet.
  size_t searched_ = 0;   // The part of it that is known to hold no line end.
  std::deque<Notification> kept_;
};

}  // namespace kor::ctl
