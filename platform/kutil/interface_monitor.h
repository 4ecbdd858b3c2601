// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "common/event_dic.h"
#include "kutil/fd_loop.h"
#include "kutil/link_names.h"
#include "kutil/route_socket.h"

namespace kor::util {

// Turns the kernel's messages about links and addresses into interface events. Changes that the kernel had to drop,
// because the callback took too long, are made good: the links are read again, and every interface known before or
// after gets an event.
//
// Life: subscribed to the kernel from Create() on, so that no change after it is missed; events from Start() to Stop().
// Where there is no routing socket, that is logged and there are no events.
// Thread safety: one thread at a time; the callback may call Stop() and let go of the object.
class InterfaceMonitor {
 public:
  using Callback = std::function<void(EventDic&)>;

  // The last owner to let go stops it. `receive_buffer`: see RouteSocket::Open().
  static std::shared_ptr<InterfaceMonitor> Create(Callback cb, int receive_buffer = 0);

  // Requires: not started yet.
  void Start();

  // Once this has returned, the callback is not running and never runs again, and the thread is gone; from inside the
  // callback it returns at once, and the thread ends after it.
  void Stop();

 private:
  InterfaceMonitor(Callback cb, int receive_buffer);

  void Read();
  void Handle(const RouteMessage& message);
  void ReadLinksAgain();
  std::map<int, std::string> LinksNow() const;
  void Raise(const std::string& name);

  const Callback cb_;
  const std::shared_ptr<FdLoop> loop_;
  std::weak_ptr<InterfaceMonitor> self_;  // Set by Create().
  std::atomic<bool> stopped_{false};      // Read between two events on the loop's thread.

  // From Start() on used on the loop's thread only.
  RouteSocket socket_;
  LinkNames names_;
  std::vector<RouteMessage> messages_;
};

}  // namespace kor::util
