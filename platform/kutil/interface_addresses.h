// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kor::util {

// One IPv4 address of an interface, in host byte order.
struct Ipv4Address {
  uint32_t local = 0;
  uint32_t peer = 0;  // The far end's on a point-to-point interface that has one, else `local`.
  int prefix = 0;

  bool operator==(const Ipv4Address& other) const {
    return local == other.local && peer == other.peer && prefix == other.prefix;
  }
};

// The IPv4 addresses of an interface in the kernel's order; none when there is no such interface.
std::vector<Ipv4Address> ReadIpv4Addresses(const std::string& ifname);

// Its first IPv6 address, but one that is only link-local when there is no other.
std::optional<std::string> ReadIpv6Address(const std::string& ifname);

// Gives it one IPv4 address in place of all it has. It is never without one in between, so its routes stay, but for
// those of the old addresses' subnets. False when there is no such interface or the kernel refuses.
bool SetOnlyIpv4Address(const std::string& ifname, uint32_t local, int prefix);

}  // namespace kor::util
