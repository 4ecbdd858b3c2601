// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <list>
#include <string>
#include <vector>

#include "support/inbox.h"
#include "wwan/at_manager.h"

namespace kor::test {

using kor::wwan::AtManager;
using Command = AtManager::Command;
using Lines = std::vector<std::string>;

using Record = Inbox<std::string>;

// Other definitions of the AT and M2M clients, linked in their place: a test forwards commands through them, scripts
// what the modem says to a request, and reads what it was sent.
class AtClient {
 public:
  // As after a fresh start. Requires: no service runs. The hooks are changed only then, too.
  static void Reset();

  // Publishes on this thread, as the client's thread does.
  static void Forward(Command cmd);
  static void Publish(uint32_t event, void* data);

  static Record answers;   // "NAME OK text", "NAME ERROR text".
  static Record requests;  // "NAME NAME ...".
  static Record others;    // "SendNotification text", "SetSoftwareReady".
  static int holders();    // Calls of GetInstance() that were not given back.
  static long subscribers();

  static std::function<int(const std::list<std::string>&)> on_request;       // Result of RegisterCommands; default 0.
  static std::function<void(const Command&, const std::string&)> on_answer;  // Takes answers instead of the record.
  static bool m2m_reachable;                                                 // False: M2mQmiClient::GetInstance throws.
};

}  // namespace kor::test
