// SPDX-License-Identifier: Apache-2.0
// The LAN's DHCP server: each change is a read and a write of the whole LAN configuration.
#include <utility>

#include "common/util/network_manager.h"
#include "wwan/mobileap_manager.h"

namespace kor::wwan {

// Writes `config` with another pool, if that is good. An end that stays may be the record's own.
bool MobileapManager::WriteDhcpPool(LanConfig& config, const std::string& start, const std::string& end) {
  if (!kor::util::NetworkManager::CheckIpv4DhcpRangeValidation(config.gw, config.nm, start, end)) return false;
  config.dhcp_start_ip = start;
  config.dhcp_end_ip = end;
  return SetLanConfig(config, true);
}

bool MobileapManager::SetDhcpServerStartIp(std::string start) {
  LanConfig config = GetLanConfig();
  return config.valid && WriteDhcpPool(config, start, config.dhcp_end_ip);
}

bool MobileapManager::SetDhcpServerEndIp(std::string end) {
  LanConfig config = GetLanConfig();
  return config.valid && WriteDhcpPool(config, config.dhcp_start_ip, end);
}

bool MobileapManager::SetDhcpServerIpRange(std::string start, std::string end) {
  LanConfig config = GetLanConfig();
  return config.valid && WriteDhcpPool(config, start, end);
}

bool MobileapManager::SetDhcpServerEnable(bool enable) {
  LanConfig config = GetLanConfig();
  if (!config.valid) return false;
  config.enable_dhcp = enable;
  return SetLanConfig(config, true);
}

bool MobileapManager::SetDhcpServerLeaseTime(int lease_time) {
  LanConfig config = GetLanConfig();
  if (!config.valid) return false;
  config.dhcp_lease_time = lease_time;
  return SetLanConfig(config, true);
}

bool MobileapManager::SetDhcpServerConfig(bool enable, std::string start, std::string end, int lease_time) {
  LanConfig config = GetLanConfig();
  if (!config.valid) return false;
  config.enable_dhcp = enable;
  config.dhcp_start_ip = std::move(start);
  config.dhcp_end_ip = std::move(end);
  config.dhcp_lease_time = lease_time;
  return SetLanConfig(config, true);
}

}  // namespace kor::wwan
