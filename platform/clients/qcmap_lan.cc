// SPDX-License-Identifier: Apache-2.0
// The wrapper's LAN, VLANs and IP passthrough.
#include "clients/operation.h"
#include "common/vendor/qcmap_wrapper.h"
#include "router/lan_table.h"

namespace kor::vendor::qcom::qcmap {

bool QcmapWrapper::GetLanConfig(std::string& gw, std::string& nm, bool& enable_dhcp, std::string& start,
                                std::string& end, int& lease) {
  if (!Admitted("GetLanConfig")) return false;
  const LanTable::LanConfig config = LanTable::Get().Config();
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
  return Admitted("SetLanConfig", gw, nm, enable_dhcp, start, end, lease) &&
         LanTable::Get().Set({true, gw, nm, enable_dhcp, start, end, static_cast<int32_t>(lease)});
}

bool QcmapWrapper::ActivateLan() {
  return Admitted("ActivateLan") && LanTable::Get().Activate() == kor::Result::kSuccess;
}

bool QcmapWrapper::SetVlanConfig(VlanConfig& config) {
  return Admitted("SetVlanConfig", config.interface, config.vlan_id, config.pdn) && LanTable::Get().SetVlan(config);
}

bool QcmapWrapper::DeleteVlanConfig(VlanConfig& config) {
  return Admitted("DeleteVlanConfig", config.vlan_id) && LanTable::Get().DeleteVlan(config.vlan_id);
}

bool QcmapWrapper::GetVlanConfigs(std::vector<VlanConfig>& configs) {
  if (!Admitted("GetVlanConfigs")) return false;
  configs = LanTable::Get().Vlans();
  return true;
}

bool QcmapWrapper::SetPdnToVlanMapping(VlanConfig& config) {
  return Admitted("SetPdnToVlanMapping", config.vlan_id, config.pdn) &&
         LanTable::Get().MapVlan(config.vlan_id, config.pdn);
}

bool QcmapWrapper::DeletePdnToVlanMapping(VlanConfig& config) {
  return Admitted("DeletePdnToVlanMapping", config.vlan_id) && LanTable::Get().UnmapVlan(config.vlan_id);
}

bool QcmapWrapper::GetPdnToVlanMapping(std::vector<VlanMapping>& mappings) {
  if (!Admitted("GetPdnToVlanMapping")) return false;
  mappings = LanTable::Get().Mappings();
  return true;
}

bool QcmapWrapper::SetIpPassthrough(bool enable, IpPassthroughConfig& config) {
  return Admitted("SetIpPassthrough", enable, config.mode, config.target) &&
         LanTable::Get().SetPassthrough(enable, config);
}

bool QcmapWrapper::GetIpPassthrough(bool& enabled, IpPassthroughConfig& config) {
  if (!Admitted("GetIpPassthrough")) return false;
  enabled = LanTable::Get().GetPassthrough(config);
  return true;
}

}  // namespace kor::vendor::qcom::qcmap
