// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "common/export.h"

namespace kor::util {

class FdLoop;

// What a descriptor is watched for.
enum class FdType : int32_t {
  kRead = 0,  // There is something to read, or the far end is gone.
};

// Calls back when a descriptor becomes ready. Each monitor has one thread of its own, on which all its callbacks run,
// one at a time; without ready descriptors it sleeps.
//
// Thread safety: all operations may be called from any thread, callbacks included. Monitors live as long as the
// process; nobody destroys them.
class KOR_EXPORT FdMonitor {
 public:
  FdMonitor(const FdMonitor&) = delete;
  FdMonitor& operator=(const FdMonitor&) = delete;

  // The process's monitor number `index` in order of creation, or null when there are not that many.
  static FdMonitor* Get(unsigned int index);

  // A new monitor.
  static FdMonitor* Create();

  // From now on calls `cb(fd, type)` whenever `fd` is ready; a callback already there for the two is replaced.
  // Readiness is a level: a callback that leaves data unread is called again. `fd` stays the caller's.
  void Add(int fd, FdType type, std::function<void(int, FdType)> cb);

  // Ends that. Once this has returned, the callback is not running and never runs again (from inside the callback
  // itself it returns at once). Call it before closing `fd`; an unknown `fd` changes nothing.
  void Remove(int fd, FdType type);

 private:
  FdMonitor() = default;

  std::shared_ptr<FdLoop> loop_;  // Set by Create().
};

}  // namespace kor::util
