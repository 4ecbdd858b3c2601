// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "kwwand/wire/json_rpc.h"
#include "kwwand/wire/mailbox.h"
#include "kwwand/wire/method.h"
#include "kwwand/wire/peer.h"
#include "kwwand/wire/workers.h"

namespace kor::host {

// Who asks: a connection and the credentials behind it.
struct Caller {
  uint64_t client = 0;
  Peer peer;
  Access access = Access::kRead;
};

// Takes requests to their methods, on the lane that each wants, and posts the answers.
//
// Thread safety: Start() and Stop() are called by one thread. Methods run on the lanes' threads.
class Dispatcher {
 public:
  static constexpr size_t kMaxWaiting = 32;  // Requests that wait, of all clients.

  // Adds host.version and monitor.start to `methods`. Requires: `mailbox` outlives this.
  Dispatcher(Methods methods, Mailbox& mailbox);

  // Waits for methods that run, and has the mailbox hold none of them up.
  ~Dispatcher();
  Dispatcher(const Dispatcher&) = delete;
  Dispatcher& operator=(const Dispatcher&) = delete;

  // Has the request run; its answer comes by the mailbox, under the number `request`. Throws RequestError when it is
  // not to run: not known, not permitted, too many.
  void Start(const Caller& caller, uint64_t request, RpcRequest rpc);

  // Forgets what does not run yet and gives the short methods a moment. False when methods still run: they cannot be
  // interrupted, and this object must not be destroyed.
  bool Stop();

 private:
  const Method& Find(const std::string& name) const;

  Mailbox& mailbox_;
  std::map<std::string, Method> methods_;
  Workers short_;
  Workers waiting_;
};

}  // namespace kor::host
