// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/event_cb_map.h"

namespace kor::util {

// How many callbacks a table has.
struct EventCbMapPeer {
  static long Count(EventCbMap& table) {
    MutexLock lock(table.mutex_);
    return static_cast<long>(table.callbacks_.size());
  }
};

}  // namespace kor::util
