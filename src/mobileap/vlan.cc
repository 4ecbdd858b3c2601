// SPDX-License-Identifier: Apache-2.0
// VLANs, their PDNs, and IP passthrough.
#include "common/log.h"
#include "common/vendor/qcmap_wrapper.h"
#include "wwan/mobileap_manager.h"

namespace kor::wwan {

namespace {

constexpr int32_t kDefaultPdn = 0;

}  // namespace

bool MobileapManager::SetVlanConfig(bool enable, VlanConfig& config) {
  if (!enable) return qcmap_->DeleteVlanConfig(config);
  if (config.pdn == kDefaultPdn) {
    KOR_LOG_AS("bool kor::wwan::MobileapManager::SetVlanConfig(bool, kor::wwan::MobileapManager::VlanConfig&)", LOG_ERR,
               "Vlan cannot be mapped with default PDN\n");
    return false;
  }
  if (!qcmap_->SetVlanConfig(config)) return false;
  if (config.pdn <= kDefaultPdn) return true;  // As it is now: the wrapper may have changed it.
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
