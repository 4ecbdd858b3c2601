// SPDX-License-Identifier: Apache-2.0
#include "wwan/mobileap_manager.h"

#include <utility>

#include "common/log.h"
#include "common/util/network_manager.h"
#include "common/vendor/qcmap_wrapper.h"

namespace kor::wwan {

namespace {

constexpr int32_t kDefaultPdn = 0;

}  // namespace

MobileapManager::MobileapManager() : qcmap_(kor::vendor::qcom::qcmap::QcmapWrapper::GetInstance()) {}

MobileapManager::~MobileapManager() {}

MobileapManager::LanConfig MobileapManager::GetLanConfig() {
  LanConfig read;
  int lease = 0;
  if (!qcmap_->GetLanConfig(read.gw, read.nm, read.enable_dhcp, read.dhcp_start_ip, read.dhcp_end_ip, lease)) {
    return LanConfig();  // Not what a failed read may have left behind.
  }
  read.valid = true;
  read.dhcp_lease_time = lease;
  return read;
}

bool MobileapManager::SetLanConfig(std::string gw, std::string nm, bool enable_dhcp, std::string dhcp_start_ip,
                                   std::string dhcp_end_ip, uint32_t dhcp_lease_time, bool activate) {
  KOR_LOG(LOG_DEBUG, "gw %s nm %s enable_dhcp %d dhcp_start_ip %s dhcp_end_ip %s dhcp_lease_time %d\n", gw.c_str(),
          nm.c_str(), enable_dhcp, dhcp_start_ip.c_str(), dhcp_end_ip.c_str(), dhcp_lease_time);
  // No way back: what was written stays when it cannot be activated, and is in force from the next activation on.
  bool done = qcmap_->SetLanConfig(std::move(gw), std::move(nm), enable_dhcp, std::move(dhcp_start_ip),
                                   std::move(dhcp_end_ip), dhcp_lease_time);
  if (done && activate) done = qcmap_->ActivateLan();
  KOR_LOG(LOG_DEBUG, "after activate LAN\n");  // On every way.
  return done;
}

bool MobileapManager::SetLanConfig(LanConfig& config, bool activate) {
  return SetLanConfig(config.gw, config.nm, config.enable_dhcp, config.dhcp_start_ip, config.dhcp_end_ip,
                      static_cast<uint32_t>(config.dhcp_lease_time), activate);
}

bool MobileapManager::ActivateLan() { return qcmap_->ActivateLan(); }

bool MobileapManager::SetGatewayIp(std::string gw) {
  if (!kor::util::NetworkManager::IsValidAddress(gw, false)) return false;
  LanConfig config = GetLanConfig();
  if (!config.valid) return false;
  config.gw = std::move(gw);  // The pool stays: whether it still fits is for the program, which may set it next.
  return SetLanConfig(config, true);
}

// -- The LAN's DHCP server: each change is a read and a write of the whole LAN configuration --------------------------

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

// Without the check of the pool: with the server off there may be none. The wrapper has the last word.
bool MobileapManager::SetDhcpServerConfig(bool enable, std::string start, std::string end, int lease_time) {
  LanConfig config = GetLanConfig();
  if (!config.valid) return false;
  config.enable_dhcp = enable;
  config.dhcp_start_ip = std::move(start);
  config.dhcp_end_ip = std::move(end);
  config.dhcp_lease_time = lease_time;
  return SetLanConfig(config, true);
}

// -- VLANs, their PDNs, and IP passthrough ----------------------------------------------------------------------------

bool MobileapManager::SetVlanConfig(bool enable, VlanConfig& config) {
  if (!enable) return qcmap_->DeleteVlanConfig(config);
  if (config.pdn == kDefaultPdn) {
    KOR_LOG_AS("bool kor::wwan::MobileapManager::SetVlanConfig(bool, kor::wwan::MobileapManager::VlanConfig&)", LOG_ERR,
               "Vlan cannot be mapped with default PDN\n");
    return false;
  }
  if (!qcmap_->SetVlanConfig(config)) return false;  // A VLAN whose mapping fails below stays, without a PDN.
  if (config.pdn <= kDefaultPdn) return true;        // As it is now: the wrapper may have changed it.
  return qcmap_->SetPdnToVlanMapping(config);
}

bool MobileapManager::GetVlanConfigs(std::vector<VlanConfig>& configs) {
  if (!qcmap_->GetVlanConfigs(configs)) return false;
  std::vector<VlanMapping> mappings;
  if (!qcmap_->GetPdnToVlanMapping(mappings)) return false;
  for (VlanConfig& config : configs) {
    for (const VlanMapping& mapping : mappings) {
      if (mapping.vlan_id == config.vlan_id) config.pdn = mapping.pdn;  // The last one counts.
    }
  }
  return true;
}

bool MobileapManager::SetPdnToVlanMapping(bool enable, VlanConfig& config) {
  return enable ? qcmap_->SetPdnToVlanMapping(config) : qcmap_->DeletePdnToVlanMapping(config);
}

bool MobileapManager::SetIpPassthrough(bool enable, IpPassthroughConfig& config) {
  return qcmap_->SetIpPassthrough(enable, config);
}

bool MobileapManager::GetIpPassthrough(bool& enabled, IpPassthroughConfig& config) {
  return qcmap_->GetIpPassthrough(enabled, config);
}

}  // namespace kor::wwan
