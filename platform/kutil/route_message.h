// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kor::util {

// What is kept of one message of the kernel's routing socket (rtnetlink).
struct RouteMessage {
  enum class Kind {
    kLink,        // A link appeared or changed.
    kLinkGone,    // A link is gone.
    kLinkLeft,    // A link left its bridge; it still exists.
    kAddress,     // An address was added, changed or removed.
    kDumpDone,    // The end of an answer.
    kDumpFailed,  // The request was refused.
  };

  Kind kind;
  int index = 0;             // The link's.
  std::string name;          // The link's; empty when the message does not say.
  bool interrupted = false;  // Links changed during the answer: it may lack some.
};

// The messages of one datagram, in order; kinds not listed above are left out. Total on any bytes: the walk ends at the
// first header whose length is impossible, and what was read before counts.
std::vector<RouteMessage> ParseRouteMessages(std::string_view bytes);

}  // namespace kor::util
