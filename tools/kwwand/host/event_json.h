// SPDX-License-Identifier: Apache-2.0
// Events as a monitor shows them: pure.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "kwwand/host/event_log.h"
#include "kwwand/host/words.h"
#include "kwwand/wire/method.h"

namespace kor::host {

using Policies = std::vector<kor::wwan::DataManager::WwanPolicy>;

// "2026-01-02T03:04:05.678Z"
std::string TimeText(std::chrono::system_clock::time_point time);

// What a call's event is about; nothing when it does not say, or says no number.
std::optional<int32_t> HandleOf(const kor::util::EventDic& event);
std::optional<IPFamily> FamilyOf(const kor::util::EventDic& event);

// What the router's kEvtReconnect tells; nothing when it is another event, or says no numbers.
struct Wait {
  int attempt = 0;
  std::chrono::milliseconds left{};
};
std::optional<Wait> WaitOf(const kor::util::EventDic& event);

// Whether it is one of kEvtWwanConnected to kEvtWwanDisconnectFailed.
bool IsCallEvent(uint32_t event);
std::string EventCode(uint32_t event);  // "0x200"

// An event of the library. `policies` give a call's handle its index (null without one).
Json EventJson(const SeenEvent& seen, const Policies& policies);

// One of the host's own, of this moment: {"time":..,"event":null,"name":..} and `members`.
Json OwnEventJson(const std::string& name, const Json& members);

}  // namespace kor::host
