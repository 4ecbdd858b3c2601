// SPDX-License-Identifier: Apache-2.0
#include "kutil/address_rules.h"

#include <arpa/inet.h>

#include "common/util/network_manager.h"

namespace kor::util {

namespace {

constexpr uint32_t kFirstGroup = 0xe0000000;    // 224.0.0.0: groups, then what is reserved.
constexpr uint32_t kFirstNetwork = 0x01000000;  // 1.0.0.0
constexpr uint32_t kLoopback = 127;             // Of 127.0.0.0/8.

// Whether the whole text is an address of `family`; its bytes are in `bytes` then.
bool Parse(int family, const std::string& text, void* bytes) {
  return text.find('\0') == std::string::npos && inet_pton(family, text.c_str(), bytes) == 1;
}

// Whether a subnet with `mask` has room for a gateway and a pool, and the pool's ends and the gateway are placed well.
bool IsPool(uint32_t gateway, uint32_t mask, uint32_t start, uint32_t end) {
  if (PrefixLength(mask).value_or(0) == 0) return false;
  const uint32_t network = gateway & mask;
  const uint32_t broadcast = network | ~mask;  // With /31 and /32 nothing lies between the two.
  if (start <= network || end >= broadcast || start > end) return false;
  return gateway < start || gateway > end;
}

}  // namespace

std::optional<uint32_t> ParseIpv4(const std::string& text) {
  in_addr address{};
  if (!Parse(AF_INET, text, &address)) return std::nullopt;
  return ntohl(address.s_addr);
}

std::string FormatIpv4(uint32_t address) {
  const in_addr bytes{htonl(address)};
  char text[INET_ADDRSTRLEN] = {};
  inet_ntop(AF_INET, &bytes, text, sizeof(text));
  return text;
}

std::optional<int> PrefixLength(uint32_t mask) {
  const uint32_t zeros = ~mask;
  if ((zeros & (zeros + 1)) != 0) return std::nullopt;
  return __builtin_popcount(mask);
}

uint32_t NetmaskOf(int prefix) { return prefix == 0 ? 0 : ~uint32_t{0} << (32 - prefix); }

bool IsHostAddress(uint32_t address) {
  return address >= kFirstNetwork && address < kFirstGroup && address >> 24 != kLoopback;
}

bool NetworkManager::IsValidAddress(std::string address, bool ipv6) {
  in6_addr bytes{};
  return Parse(ipv6 ? AF_INET6 : AF_INET, address, &bytes);
}

bool NetworkManager::CheckIpv4DhcpRangeValidation(std::string gw, std::string nm, std::string start, std::string end) {
  const std::optional<uint32_t> gateway = ParseIpv4(gw);
  const std::optional<uint32_t> mask = ParseIpv4(nm);
  const std::optional<uint32_t> first = ParseIpv4(start);
  const std::optional<uint32_t> last = ParseIpv4(end);
  if (!gateway || !mask || !first || !last) return false;
  return IsPool(*gateway, *mask, *first, *last);
}

}  // namespace kor::util
