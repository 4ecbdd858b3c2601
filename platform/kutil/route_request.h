// SPDX-License-Identifier: Apache-2.0
// What is asked and ordered of the kernel by its routing socket. Any thread; they do not wait for others.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "kutil/route_message.h"

namespace kor::util {

// All links (RTM_GETLINK, AF_UNSPEC) or all addresses of one family (RTM_GETADDR) that the kernel has. False with errno
// set when it does not tell all.
bool Dump(uint16_t type, unsigned char family, std::vector<RouteMessage>& found);

// The names of all links by index, of a dump.
bool ReadLinks(std::map<int, std::string>& names);

// Adds (RTM_NEWADDR) or removes (RTM_DELADDR) an address of the link with this index. False when the kernel refuses.
bool ChangeAddress(uint16_t type, int index, const Ipv4Address& address);

}  // namespace kor::util
