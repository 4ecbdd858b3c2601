// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kor::util {

// An IPv4 address of an interface; addresses are in host byte order.
struct Ipv4Address {
  uint32_t local = 0;
  uint32_t peer = 0;  // The far end's where it was given with the address, else `local`.
  int prefix = 32;    // Of the subnet that `peer` lies in.

  // What goes with it.
  uint32_t broadcast = 0;  // 0 for none.
  uint8_t scope = 0;       // RT_SCOPE_...
  std::string label;       // The interface's name, or another one for this address.

  // As the kernel has it: there are no two that differ in what goes with them alone.
  bool operator==(const Ipv4Address& other) const {
    return local == other.local && peer == other.peer && prefix == other.prefix;
  }
};

// What is kept of one message of the kernel's routing socket (rtnetlink).
struct RouteMessage {
  enum class Kind {
    kLink,      // A link appeared or changed.
    kLinkGone,  // A link is gone.
    kLinkLeft,  // A link left its bridge; it still exists.
    kAddress,   // An address was added, changed or removed.
    kDone,      // The end of an answer, or the word that a request was carried out.
    kRefused,   // The request was refused.
  };

  Kind kind;
  bool interrupted = false;  // Links or addresses changed during the answer: it may lack some.
  int index = 0;             // The link's.

  // Of a link; empty when the message does not say.
  std::string name;
  bool up = false;  // It is set up (IFF_UP).

  // Of an address, by its family; all zero when the message does not say.
  Ipv4Address ipv4;
  in6_addr ipv6{};
};

// The messages of one datagram, in order; kinds not listed above are left out. Total on any bytes: the walk ends at the
// first header whose length is impossible, and what was read before counts.
std::vector<RouteMessage> ParseRouteMessages(std::string_view bytes);

}  // namespace kor::util
