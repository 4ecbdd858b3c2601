// SPDX-License-Identifier: Apache-2.0
// Which texts and values are addresses and netmasks, for the library and for the platform alike. Values are in host
// byte order.
#pragma once

#include <arpa/inet.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "common/util/network_manager.h"

namespace kor::util {

// Whether the whole text is an address of `family` (AF_INET, AF_INET6); its bytes are in `bytes` then.
inline bool ParseAddress(int family, const std::string& text, void* bytes) {
  // A NUL would end the text for inet_pton() but not for whoever writes it to a file.
  return text.find('\0') == std::string::npos && inet_pton(family, text.c_str(), bytes) == 1;
}

inline bool IsAddress(int family, const std::string& text) {
  in6_addr bytes;  // Room for either family.
  return ParseAddress(family, text, &bytes);
}

// The value of four decimal numbers with dots and nothing else, "192.168.1.1"; leading zeros are refused.
inline std::optional<uint32_t> ParseIpv4(const std::string& text) {
  in_addr address{};
  if (!ParseAddress(AF_INET, text, &address)) return std::nullopt;
  return ntohl(address.s_addr);
}

inline std::string FormatIpv4(uint32_t address) {
  const in_addr bytes{htonl(address)};
  char text[INET_ADDRSTRLEN] = {};
  inet_ntop(AF_INET, &bytes, text, sizeof(text));
  return text;
}

// The length of the prefix that `mask` stands for; nothing when its ones are not all in front.
inline std::optional<int> PrefixLength(uint32_t mask) {
  const uint32_t zeros = ~mask;
  if ((zeros & (zeros + 1)) != 0) return std::nullopt;
  return __builtin_popcount(mask);
}

inline uint32_t NetmaskOf(int prefix) { return prefix == 0 ? 0 : ~uint32_t{0} << (32 - prefix); }

// Whether an interface to others can have it: not of network 0 ("this network") or the loopback network, not a group's,
// not reserved.
inline bool IsHostAddress(uint32_t address) {
  constexpr uint32_t kFirstGroup = 0xe0000000;    // 224.0.0.0: groups, then what is reserved.
  constexpr uint32_t kFirstNetwork = 0x01000000;  // 1.0.0.0
  return address >= kFirstNetwork && address < kFirstGroup && address >> 24 != IN_LOOPBACKNET;
}

// Whether interface `name` has `address` for its first of the family. IPv6 addresses are compared in binary, as one has
// many texts; a text that is no IPv6 address counts as "::".
inline bool InterfaceHas(const std::string& name, const std::string& address, bool ipv6) {
  const auto bytes_of = [](const std::string& text) {
    std::array<unsigned char, sizeof(in6_addr)> bytes{};
    inet_pton(AF_INET6, text.c_str(), bytes.data());
    return bytes;
  };
  std::string found;
  if (!NetworkManager::GetIpAddress(name, found, ipv6)) return false;
  return ipv6 ? bytes_of(found) == bytes_of(address) : found == address;
}

}  // namespace kor::util
