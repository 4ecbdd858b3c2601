// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "kutil/route_message.h"

namespace kor::util {

// The IPv4 addresses of the interface with this index in the kernel's order; nothing when the kernel did not tell all.
std::optional<std::vector<Ipv4Address>> ReadIpv4Addresses(int index);

// Its first IPv6 address, but one that is only link-local when there is no other.
std::optional<std::string> ReadIpv6Address(int index);

// Gives it one IPv4 address in place of all it has. It is never without one in between, so its routes stay, but for
// those of the old addresses' subnets. With any broadcast address it gets its subnet's. False when it did not come to
// that: there is no such interface, or the kernel refused. Nothing is changed when the old ones cannot be read.
bool SetOnlyIpv4Address(int index, Ipv4Address wanted);

}  // namespace kor::util
