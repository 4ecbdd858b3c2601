// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "common/event_dic.h"
#include "common/mutex.h"
#include "kutil/link_names.h"
#include "kutil/lock_ranks.h"
#include "kutil/route_socket.h"

namespace kor::util {

// Turns the kernel's messages about links and addresses into interface events. Changes that the kernel had to drop,
// because the callback took too long, are made good: the links are read again, and every interface known before or
// after gets an event.
//
// Life: subscribed to the kernel from Create() on, so that no change after it is missed; events from Start() to Stop().
// Where there is no routing socket or no thread, that is logged and there are no events. The thread has the signal mask
// of whoever starts it (a program started from the callback inherits it).
// Thread safety: one thread at a time; the callback may call Stop() and let go of the object.
class InterfaceMonitor {
 public:
  using Callback = std::function<void(EventDic&)>;

  // The last owner to let go stops it. `receive_buffer`: see RouteSocket::Open().
  static std::shared_ptr<InterfaceMonitor> Create(Callback cb, int receive_buffer = 0);
  ~InterfaceMonitor();
  InterfaceMonitor(const InterfaceMonitor&) = delete;
  InterfaceMonitor& operator=(const InterfaceMonitor&) = delete;

  // Requires: not started yet.
  void Start();

  // Once this has returned, the callback is not running and never runs again, and the thread is gone; from inside the
  // callback it returns at once, and the thread ends after it.
  void Stop();

 private:
  explicit InterfaceMonitor(Callback cb);

  void Subscribe(int receive_buffer);
  void Main();
  void Read();
  void Handle(const RouteMessage& message);
  void ReadLinksAgain();
  std::map<int, std::string> LinksNow() const;
  void Raise(const std::string& name);

  const Callback cb_;
  const int wake_fd_;                     // An eventfd, written to make the thread look at stopped_.
  std::weak_ptr<InterfaceMonitor> self_;  // Set by Create().
  std::atomic<bool> stopped_{false};      // Read between two events on the thread.

  Mutex mutex_{rank::kUtility};
  std::thread thread_ KOR_GUARDED_BY(mutex_);  // The first callback may come, and stop it, before it stands here.

  // From Start() on used on the thread only.
  RouteSocket socket_;
  LinkNames names_;
  std::vector<RouteMessage> messages_;
};

}  // namespace kor::util
