// SPDX-License-Identifier: Apache-2.0
#include "vendor/lan_table.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>
#include <optional>
#include <string>

namespace kor::vendor::qcom::qcmap {

namespace {

using Mode = kor::wwan::MobileapManager::IpPassthroughMode;

constexpr int32_t kMaxVlan = 4094;       // 802.1Q: 0 and 4095 are reserved.
constexpr size_t kMaxHostName = 63;      // A DNS label.
constexpr size_t kMacText = 17;          // "02:00:5e:10:00:01"
constexpr size_t kMacDigitsAndMark = 3;  // "02:"

std::optional<uint32_t> ParseAddress(const std::string& text) {
  in_addr address;
  // A NUL would end the text for inet_pton but not for us.
  if (text.find('\0') != std::string::npos || inet_pton(AF_INET, text.c_str(), &address) != 1) return std::nullopt;
  return ntohl(address.s_addr);
}

bool IsNetmask(const std::string& text) {
  const auto mask = ParseAddress(text);
  return mask && *mask != 0 && (~*mask & (~*mask + 1)) == 0;
}

bool IsMac(const std::string& text) {
  for (size_t i = 0; i < text.size(); ++i) {
    const bool mark = i % kMacDigitsAndMark == kMacDigitsAndMark - 1;
    if (mark ? text[i] != ':' : isxdigit(static_cast<unsigned char>(text[i])) == 0) return false;
  }
  return text.size() == kMacText;
}

bool IsHostName(const std::string& text) {
  return !text.empty() && text.size() <= kMaxHostName &&
         std::all_of(text.begin(), text.end(), [](unsigned char c) { return isalnum(c) != 0 || c == '-' || c == '_'; });
}

bool IsTarget(Mode mode, const std::string& target) {
  switch (mode) {
    case Mode::kFirstClient:
      return target.empty();
    case Mode::kMacAddress:
      return IsMac(target);
    case Mode::kHostName:
      return IsHostName(target);
  }
  return false;
}

}  // namespace

LanTable::LanConfig LanTable::Defaults() {
  return {true, "192.168.225.1", "255.255.255.0", true, "192.168.225.20", "192.168.225.60", 43200};
}

LanTable::LanConfig LanTable::Get() {
  kor::util::MutexLock lock(mutex_);
  return lan_;
}

bool LanTable::Set(const LanConfig& config) {
  const auto start = ParseAddress(config.dhcp_start_ip);
  const auto end = ParseAddress(config.dhcp_end_ip);
  if (!ParseAddress(config.gw) || !IsNetmask(config.nm) || !start || !end || *start > *end) return false;
  kor::util::MutexLock lock(mutex_);
  lan_ = config;
  lan_.valid = true;
  return true;
}

kor::Result LanTable::Activate() {
  kor::util::MutexLock lock(mutex_);
  return port_.ApplyLan(lan_);
}

bool LanTable::SetVlan(const VlanConfig& config) {
  if (config.vlan_id < 1 || config.vlan_id > kMaxVlan) return false;
  kor::util::MutexLock lock(mutex_);
  vlans_[config.vlan_id] = {config.interface, config.vlan_id, -1};
  return true;
}

bool LanTable::DeleteVlan(int32_t vlan_id) {
  kor::util::MutexLock lock(mutex_);
  mappings_.erase(vlan_id);
  return vlans_.erase(vlan_id) != 0;
}

bool LanTable::MapVlan(int32_t vlan_id, int32_t pdn) {
  kor::util::MutexLock lock(mutex_);
  if (vlans_.count(vlan_id) == 0) return false;
  mappings_[vlan_id] = pdn;
  return true;
}

bool LanTable::UnmapVlan(int32_t vlan_id) {
  kor::util::MutexLock lock(mutex_);
  return mappings_.erase(vlan_id) != 0;
}

std::vector<LanTable::VlanConfig> LanTable::Vlans() {
  kor::util::MutexLock lock(mutex_);
  std::vector<VlanConfig> configs;
  for (const auto& entry : vlans_) configs.push_back(entry.second);
  return configs;
}

std::vector<LanTable::VlanMapping> LanTable::Mappings() {
  kor::util::MutexLock lock(mutex_);
  std::vector<VlanMapping> mappings;
  for (const auto& entry : mappings_) mappings.push_back({entry.first, entry.second});
  return mappings;
}

bool LanTable::SetPassthrough(bool enable, const IpPassthroughConfig& config) {
  if (!IsTarget(config.mode, config.target)) return false;
  kor::util::MutexLock lock(mutex_);
  passes_through_ = enable;
  passthrough_ = config;
  return true;
}

bool LanTable::GetPassthrough(IpPassthroughConfig& config) {
  kor::util::MutexLock lock(mutex_);
  config = passthrough_;
  return passes_through_;
}

}  // namespace kor::vendor::qcom::qcmap
