// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "shared/fd.h"

namespace kor::host {

using kor::tools::Fd;

// Who is told that the host is ready, or why it is not: the shell that waits for `kwwand --daemon`, the terminal, and
// the service manager, by sd_notify's protocol.
//
// Thread safety: one thread. Requires: made and detached before the process has other threads.
class Readiness {
 public:
  // Takes NOTIFY_SOCKET out of the environment, so that no child of the host's speaks in its name.
  Readiness();

  // Goes into the background: returns in a process of its own session, without a terminal, its standard streams at
  // /dev/null, without the other descriptors that were open. The process that was started ends inside, when Ready() or
  // Failed() has been called here: with status 0, or 1 and the reason on its standard error. Throws std::system_error.
  void Detach();

  void Ready();
  void Failed(const std::string& why);
  void Stopping();

 private:
  void Notify(const std::string& state);
  bool TellStarter(const std::string& text);

  std::string notify_socket_;  // Empty: no service manager wants to know.
  Fd starter_;                 // Open iff one waits for the verdict.
};

}  // namespace kor::host
