// SPDX-License-Identifier: Apache-2.0
// The object and the LAN as a whole.
#include "wwan/mobileap_manager.h"

#include <utility>

#include "common/log.h"
#include "common/util/network_manager.h"
#include "common/vendor/qcmap_wrapper.h"

namespace kor::wwan {

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
  config.gw = std::move(gw);
  return SetLanConfig(config, true);
}

}  // namespace kor::wwan
