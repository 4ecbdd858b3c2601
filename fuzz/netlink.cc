// SPDX-License-Identifier: Apache-2.0
// A datagram of the kernel's routing socket, and the names that are kept of it.
#include <net/if.h>

#include <cstdint>

#include "kutil/link_names.h"
#include "kutil/route_message.h"
#include "require.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  kor::util::LinkNames names;
  for (const auto& message : kor::util::ParseRouteMessages({reinterpret_cast<const char*>(bytes), size})) {
    kor::fuzz::Require(message.name.size() < IFNAMSIZ, "a name that an interface can have");
    kor::fuzz::Require(message.name.find('\0') == std::string::npos, "without a NUL");
    kor::fuzz::Require(0 <= message.ipv4.prefix && message.ipv4.prefix <= 32, "a prefix that a netmask has");
    const auto concerned = names.Learn(message);
    kor::fuzz::Require(concerned.size() <= 2, "a message concerns one link");
    for (const auto& name : concerned) kor::fuzz::Require(!name.empty(), "an event names its interface");
  }
  kor::fuzz::Require(names.known().size() <= size / sizeof(uint32_t), "nothing is made up");
  return 0;
}
