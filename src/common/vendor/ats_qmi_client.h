// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <list>
#include <string>

#include "common/event_cb_map.h"
#include "common/export.h"
#include "common/vendor/lock_ranks.h"
#include "wwan/at_manager.h"

namespace kor::vendor::qcom::qmi {

// The client of the modem's AT service (QMI ATS): commands typed at the modem's terminals, forwarded to this processor.
//
// Thread safety: all operations may be called from any thread. Each waits for the modem's answer, for 10 seconds at the
// longest (kTimeout): in an event callback it would hold up the events behind it. Events are published on
// the client's own thread, never from inside a request.
class KOR_EXPORT AtsQmiClient {
 public:
  // The process's one client, alive until the process ends. Throws std::runtime_error when the modem is not reachable.
  static AtsQmiClient* GetInstance();

  // Gives it back: once for each GetInstance().
  void ReleaseInstance();

  // Asks the modem to forward the commands of these names from now on: all of them or, when the result is not 0, none;
  // asked again for a name that it has, it takes it. A modem that was gone and is back is told the names again.
  int RegisterCommands(std::list<std::string> names);

  // Answers `cmd`, known by its client_ref and client_data, with success or failure. `text` goes to the terminal before
  // the final result; it is empty or ends with a line feed. 0 when the modem took it.
  int SendResponse(kor::wwan::AtManager::Command& cmd, bool result, std::string text);

  // Shows an unsolicited text on the terminal. 0 when the modem took it.
  int SendNotification(std::string text);

  kor::util::EventCbMap event_cbs{rank::kAtTable};  // kEvtAtCommand: a command was forwarded.
};

}  // namespace kor::vendor::qcom::qmi
