// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>

#include "common/event_dic.h"
#include "common/export.h"

namespace kor::util {

class InterfaceMonitor;

// The device's network interfaces: their changes as events.
//
// Thread safety: SetEventCb() and UnsetEventCb() of one object are called by one thread at a time.
class KOR_EXPORT NetworkManager {
 public:
  NetworkManager();

  // From now on calls `cb` with kEvtNetIface for every change of a link or an address of any interface, the
  // interface's name in kParamIfaceName. The callback runs on this object's own thread, one event at a time; changes
  // that came too fast to be kept one by one are made good by an event for every interface. A second call replaces
  // the callback.
  void SetEventCb(std::function<void(EventDic&)> cb);

  // Ends that. Once this has returned, the callback is not running and never runs again (from inside the callback
  // itself it returns at once). Without a callback set it changes nothing.
  void UnsetEventCb();

 private:
  std::shared_ptr<InterfaceMonitor> monitor_;  // Null iff no callback is set.
};

}  // namespace kor::util
