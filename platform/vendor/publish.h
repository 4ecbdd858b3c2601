// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>

#include "common/event_cb_map.h"
#include "common/log.h"

namespace kor::vendor::qcom {

// Hands an event to a client's subscribers, on the modem's thread; one that throws does not end the thread.
inline void Publish(kor::util::EventCbMap& event_cbs, kor::util::EventDic& ev) {
  try {
    event_cbs.Notify(ev);
  } catch (const std::exception& error) {
    KOR_LOG(LOG_ERR, "a subscriber of event 0x%x threw: %s\n", ev.event, error.what());
  } catch (...) {
    KOR_LOG(LOG_ERR, "a subscriber of event 0x%x threw\n", ev.event);
  }
}

}  // namespace kor::vendor::qcom
