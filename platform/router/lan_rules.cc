// SPDX-License-Identifier: Apache-2.0
#include "router/lan_rules.h"

#include <algorithm>
#include <cctype>
#include <string>

#include "common/addresses.h"

namespace kor::vendor::qcom::qcmap {

namespace {

using LanConfig = kor::wwan::MobileapManager::LanConfig;
using Mode = kor::wwan::MobileapManager::IpPassthroughMode;

constexpr int32_t kMaxVlan = 4094;       // 802.1Q: 0 and 4095 are reserved.
constexpr size_t kMaxHostName = 63;      // A DNS label.
constexpr size_t kMacText = 17;          // "02:00:5e:10:00:01"
constexpr size_t kMacDigitsAndMark = 3;  // "02:"

// An address that a host can have in a subnet of that mask: neither the subnet's own nor its broadcast address, which
// /31 and /32 do not have.
bool IsHostAddress(uint32_t address, uint32_t mask) {
  const uint32_t host = address & ~mask;
  return kor::util::IsHostAddress(address) && (~mask <= 1 || (host != 0 && host != ~mask));
}

// Of one station: a group's has the lowest bit of its first byte set.
bool IsMac(const std::string& text) {
  if (text.size() != kMacText || text.find_first_not_of("0:") == std::string::npos) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool mark = i % kMacDigitsAndMark == kMacDigitsAndMark - 1;
    if (mark ? text[i] != ':' : isxdigit(static_cast<unsigned char>(text[i])) == 0) return false;
  }
  return std::stoi(text.substr(0, 2), nullptr, 16) % 2 == 0;
}

bool IsHostName(const std::string& text) {
  return !text.empty() && text.size() <= kMaxHostName &&
         std::all_of(text.begin(), text.end(), [](unsigned char c) { return isalnum(c) != 0 || c == '-' || c == '_'; });
}

bool IsPool(const LanConfig& config) {
  const auto start = kor::util::ParseIpv4(config.dhcp_start_ip);
  const auto end = kor::util::ParseIpv4(config.dhcp_end_ip);
  if (!config.enable_dhcp && config.dhcp_start_ip.empty() && config.dhcp_end_ip.empty()) return true;
  return start && end && *start <= *end;
}

}  // namespace

bool IsLanConfig(const LanConfig& config) {
  const auto gateway = kor::util::ParseIpv4(config.gw);
  const auto mask = kor::util::ParseIpv4(config.nm);
  return gateway && mask && kor::util::PrefixLength(*mask).value_or(0) > 0 && IsHostAddress(*gateway, *mask) &&
         IsPool(config);
}

bool IsVlanId(int32_t id) { return id >= 1 && id <= kMaxVlan; }

bool IsPassthrough(const kor::wwan::MobileapManager::IpPassthroughConfig& config) {
  switch (config.mode) {
    case Mode::kFirstClient:
      return config.target.empty();
    case Mode::kMacAddress:
      return IsMac(config.target);
    case Mode::kHostName:
      return IsHostName(config.target);
  }
  return false;
}

}  // namespace kor::vendor::qcom::qcmap
