// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <string>
#include <utility>

#include "support/deaf_port.h"
#include "support/inbox.h"

namespace kor::test {

// Takes every request, or none, and tells of no outcome.
class ScriptedPort final : public DeafPort {
 public:
  kor::modem::ModemState State() override { return state; }
  void AddStateReport(StateReport report) override { tell_state = std::move(report); }
  kor::Result StartCall(const kor::modem::CallRequest& request) override {
    return Take("start", request.handle, request.family, request.serial);
  }
  kor::Result StopCall(int32_t handle, kor::util::IPFamily family, uint64_t serial) override {
    return Take("stop", handle, family, serial);
  }
  kor::Result GetCalls(std::list<kor::modem::RunningCall>& calls) override {
    calls = running;
    if (before_return) before_return();
    return kor::Result::kSuccess;
  }

  // The oldest request not yet looked at, "start 100 4"; waited for.
  std::string Next() { return requests_.Next("nothing"); }

  std::atomic<bool> takes{true};
  std::function<void()> before_return;  // Reports that overtake their request.
  std::atomic<uint64_t> asked{0};       // The serial of the latest request.
  std::atomic<kor::modem::ModemState> state{kor::modem::ModemState::kReady};
  StateReport tell_state;
  std::list<kor::modem::RunningCall> running;

 private:
  kor::Result Take(const std::string& what, int32_t handle, kor::util::IPFamily family, uint64_t serial) {
    asked = serial;
    requests_.Add(what + " " + std::to_string(handle) + (family == kor::util::IPFamily::kIpv4 ? " 4" : " 6"));
    if (before_return) before_return();
    return takes ? kor::Result::kSuccess : kor::Result::kFailure;
  }

  Inbox<std::string> requests_;
};

}  // namespace kor::test
