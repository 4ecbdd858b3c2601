// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <list>

#include "common/event_cb_map.h"
#include "common/export.h"
#include "common/result.h"
#include "common/vendor/lock_ranks.h"
#include "wwan/sms_manager.h"

namespace kor::vendor::qcom::qmi {

// The client of the modem's short message service (QMI WMS): the routes of messages that arrive.
//
// Thread safety: all operations may be called from any thread. Each waits for the modem's answer, for 10 seconds at the
// longest (kTimeout): in an event callback it would hold up the events behind it. Events are published on
// the client's own thread, never from inside a request. A message that the modem wants acknowledged (kTransferOnly) is,
// when the subscribers have heard it, whoever they are.
class KOR_EXPORT WmsQmiClient {
 public:
  // The process's one client, alive until the process ends. Throws std::runtime_error when the modem is not reachable.
  static WmsQmiClient* GetInstance();

  // kSuccess when `routes`, emptied before, is filled.
  kor::Result GetRouteList(std::list<kor::wwan::SmsManager::RouteInfo>& routes);

  // Takes all of them or, unless the result is kSuccess, none; classes that are not in the list keep their route.
  kor::Result SetRouteList(std::list<kor::wwan::SmsManager::RouteInfo>& routes);

  // kSuccess when the modem took it.
  kor::Result ModifyTagAsync();

  kor::util::EventCbMap event_cbs{rank::kRadioTables};  // A message has arrived; a storage is full.
};

}  // namespace kor::vendor::qcom::qmi
