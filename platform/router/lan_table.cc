// SPDX-License-Identifier: Apache-2.0
#include "router/lan_table.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string>

#include "common/addresses.h"

namespace kor::vendor::qcom::qcmap {

namespace {

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

bool IsPool(const LanTable::LanConfig& config) {
  const auto start = kor::util::ParseIpv4(config.dhcp_start_ip);
  const auto end = kor::util::ParseIpv4(config.dhcp_end_ip);
  if (!config.enable_dhcp && config.dhcp_start_ip.empty() && config.dhcp_end_ip.empty()) return true;
  return start && end && *start <= *end;
}

}  // namespace

LanTable::LanConfig LanTable::Defaults() {
  return {true, "192.168.225.1", "255.255.255.0", true, "192.168.225.20", "192.168.225.60", 43200};
}

LanTable::LanConfig LanTable::Config() {
  kor::util::MutexLock lock(mutex_);
  return recorded_;
}

LanTable::LanConfig LanTable::InForce() {
  kor::util::MutexLock lock(mutex_);
  return in_force_;
}

bool LanTable::Set(const LanConfig& config) {
  const auto gateway = kor::util::ParseIpv4(config.gw);
  const auto mask = kor::util::ParseIpv4(config.nm);
  if (!gateway || !mask || kor::util::PrefixLength(*mask).value_or(0) == 0 || !IsHostAddress(*gateway, *mask) ||
      !IsPool(config))
    return false;
  kor::util::MutexLock lock(mutex_);
  recorded_ = config;
  recorded_.valid = true;
  return true;
}

void LanTable::Activate() {
  kor::util::MutexLock lock(mutex_);
  in_force_ = recorded_;
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
  PolicyTable::WwanPolicy policy;
  kor::util::MutexLock lock(mutex_);
  if (vlans_.count(vlan_id) == 0 || pdn <= 0 || !policies_.Get(static_cast<uint32_t>(pdn), policy)) return false;
  mappings_[vlan_id] = policy.handle;
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
  std::map<int32_t, int32_t> index_of;
  for (const auto& policy : policies_.List()) index_of.emplace(policy.handle, static_cast<int32_t>(index_of.size()));
  std::vector<VlanMapping> mappings;
  for (const auto& [vlan_id, handle] : mappings_) mappings.push_back({vlan_id, index_of.at(handle)});
  return mappings;
}

bool LanTable::DeletePdn(uint32_t pdn) {
  PolicyTable::WwanPolicy policy;
  kor::util::MutexLock lock(mutex_);
  if (!policies_.Get(pdn, policy)) return false;
  const auto serves = [&policy](const auto& mapping) { return mapping.second == policy.handle; };
  return std::none_of(mappings_.begin(), mappings_.end(), serves) && policies_.Delete(pdn);
}

bool LanTable::SetPassthrough(bool enable, const IpPassthroughConfig& config) {
  const bool sets = enable || !config.target.empty();  // Off and without a target: what is kept stays.
  if (sets && !IsTarget(config.mode, config.target)) return false;
  kor::util::MutexLock lock(mutex_);
  passes_through_ = enable;
  if (sets) passthrough_ = config;
  return true;
}

bool LanTable::GetPassthrough(IpPassthroughConfig& config) {
  kor::util::MutexLock lock(mutex_);
  config = passthrough_;
  return passes_through_;
}

}  // namespace kor::vendor::qcom::qcmap
