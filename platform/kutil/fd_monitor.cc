// SPDX-License-Identifier: Apache-2.0
#include "common/util/fd_monitor.h"

#include <memory>
#include <utility>
#include <vector>

#include "common/mutex.h"
#include "kutil/fd_loop.h"
#include "kutil/lock_ranks.h"

namespace kor::util {

namespace {

struct Registry {
  Mutex mutex{rank::kUtility};
  std::vector<FdMonitor*> monitors KOR_GUARDED_BY(mutex);
};

// Never destroyed: monitors may be at work on their threads while the process exits.
Registry& TheRegistry() {
  static Registry& registry = *new Registry;
  return registry;
}

}  // namespace

FdMonitor* FdMonitor::Get(unsigned int index) {
  Registry& registry = TheRegistry();
  MutexLock lock(registry.mutex);
  return index < registry.monitors.size() ? registry.monitors[index] : nullptr;
}

FdMonitor* FdMonitor::Create() {
  std::unique_ptr<FdMonitor> monitor(new FdMonitor);
  monitor->loop_ = std::make_shared<FdLoop>();
  Registry& registry = TheRegistry();
  MutexLock lock(registry.mutex);
  registry.monitors.push_back(monitor.get());
  return monitor.release();
}

void FdMonitor::Add(int fd, FdType type, std::function<void(int, FdType)> cb) {
  loop_->Add(fd, [fd, type, cb = std::move(cb)] { cb(fd, type); });
}

void FdMonitor::Remove(int fd, FdType) { loop_->Remove(fd); }

}  // namespace kor::util
