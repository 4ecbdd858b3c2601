// SPDX-License-Identifier: Apache-2.0
// The wrapper's LAN, VLANs and IP passthrough.
#include "common/vendor/qcmap_wrapper.h"
#include "router/router.h"

namespace kor::vendor::qcom::qcmap {

namespace {

LanTable& Lan() { return Router::Get().lan; }

}  // namespace

bool QcmapWrapper::GetLanConfig(std::string& gw, std::string& nm, bool& enable_dhcp, std::string& start,
                                std::string& end, int& lease) {
  const LanTable::LanConfig config = Lan().Config();
  gw = config.gw;
  nm = config.nm;
  enable_dhcp = config.enable_dhcp;
  start = config.dhcp_start_ip;
  end = config.dhcp_end_ip;
  lease = config.dhcp_lease_time;
  return true;
}

bool QcmapWrapper::SetLanConfig(std::string gw, std::string nm, bool enable_dhcp, std::string start, std::string end,
                                unsigned int lease) {
  return Lan().Set({true, gw, nm, enable_dhcp, start, end, static_cast<int32_t>(lease)});
}

bool QcmapWrapper::ActivateLan() {
  Lan().Activate();
  return true;
}

bool QcmapWrapper::SetVlanConfig(VlanConfig& config) { return Lan().SetVlan(config); }

bool QcmapWrapper::DeleteVlanConfig(VlanConfig& config) { return Lan().DeleteVlan(config.vlan_id); }

bool QcmapWrapper::GetVlanConfigs(std::vector<VlanConfig>& configs) {
  configs = Lan().Vlans();
  return true;
}

bool QcmapWrapper::SetPdnToVlanMapping(VlanConfig& config) { return Lan().MapVlan(config.vlan_id, config.pdn); }

bool QcmapWrapper::DeletePdnToVlanMapping(VlanConfig& config) { return Lan().UnmapVlan(config.vlan_id); }

bool QcmapWrapper::GetPdnToVlanMapping(std::vector<VlanMapping>& mappings) {
  mappings = Lan().Mappings();
  return true;
}

bool QcmapWrapper::SetIpPassthrough(bool enable, IpPassthroughConfig& config) {
  return Lan().SetPassthrough(enable, config);
}

bool QcmapWrapper::GetIpPassthrough(bool& enabled, IpPassthroughConfig& config) {
  enabled = Lan().GetPassthrough(config);
  return true;
}

}  // namespace kor::vendor::qcom::qcmap
