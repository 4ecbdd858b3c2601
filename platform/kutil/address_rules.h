// SPDX-License-Identifier: Apache-2.0
// Which texts and values are addresses and netmasks. Pure; values are in host byte order.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kor::util {

// The value of four decimal numbers with dots and nothing else, "192.168.1.1"; leading zeros are refused.
std::optional<uint32_t> ParseIpv4(const std::string& text);

std::string FormatIpv4(uint32_t address);

// The length of the prefix that `mask` stands for; nothing when its ones are not all in front.
std::optional<int> PrefixLength(uint32_t mask);
uint32_t NetmaskOf(int prefix);

// Whether an interface to others can have it: not of network 0 ("this network") or the loopback network, not a group's,
// not reserved.
bool IsHostAddress(uint32_t address);

}  // namespace kor::util
