// SPDX-License-Identifier: Apache-2.0
#include "common/util/network_manager.h"

#include <utility>

#include "kutil/interface_monitor.h"

namespace kor::util {

NetworkManager::NetworkManager() = default;

void NetworkManager::SetEventCb(std::function<void(EventDic&)> cb) {
  // Subscribed before the predecessor ends and started after it: no change is missed between the two, and they do not
  // run side by side.
  std::shared_ptr<InterfaceMonitor> next = InterfaceMonitor::Create(std::move(cb));
  UnsetEventCb();
  monitor_ = std::move(next);
  monitor_->Start();
}

void NetworkManager::UnsetEventCb() {
  const std::shared_ptr<InterfaceMonitor> ended = std::exchange(monitor_, nullptr);
  if (ended != nullptr) ended->Stop();
}

}  // namespace kor::util
