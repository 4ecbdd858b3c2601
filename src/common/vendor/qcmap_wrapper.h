// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/event_cb_map.h"
#include "common/export.h"
#include "common/ip_family.h"
#include "common/result.h"
#include "common/vendor/lock_ranks.h"
#include "wwan/data_manager.h"
#include "wwan/mobileap_manager.h"

namespace kor::vendor::qcom::qcmap {

// The mobile-AP wrapper: the policy table, the backhaul call of each policy for each IP family, and the LAN.
//
// Thread safety: all operations may be called from any thread. Events are published on the modem's event thread, never
// from inside a request. `index` is a policy's position in GetWwanPolicies().
class KOR_EXPORT QcmapWrapper {
 public:
  using WwanPolicy = kor::wwan::DataManager::WwanPolicy;
  using ConnectStatus = kor::wwan::DataManager::ConnectStatus;
  using NetworkConfig = kor::wwan::DataManager::NetworkConfig;
  using VlanConfig = kor::wwan::MobileapManager::VlanConfig;
  using VlanMapping = kor::wwan::MobileapManager::VlanMapping;
  using IpPassthroughConfig = kor::wwan::MobileapManager::IpPassthroughConfig;

  // The process's one wrapper, alive until the process ends. Throws std::runtime_error when the modem is not reachable.
  static QcmapWrapper* GetInstance();

  // Each returns false when the modem does not answer or `index` has no policy.
  bool GetWwanPolicies(std::vector<WwanPolicy>& policies);
  bool GetWwanPolicy(uint32_t index, WwanPolicy& policy);
  bool SetWwanPolicy(uint32_t index, kor::wwan::Tech tech, kor::util::IPFamily ip_family, int profile_1, int profile_2);
  bool CreateWwanPolicy(kor::wwan::Tech tech, kor::util::IPFamily ip_family, uint8_t profile_1, uint8_t profile_2);
  bool DeleteWwanPolicy(uint8_t index);
  bool GetWwanConnectStatus(uint32_t index, ConnectStatus& ipv4, ConnectStatus& ipv6);
  bool SetAutoConnect(uint32_t index, bool enable);
  bool GetAutoConnect(uint32_t index, bool& enabled);
  bool SetRoaming(uint32_t index, bool enable);
  bool GetRoaming(uint32_t index, bool& enabled);

  // kSuccess when the request was accepted; the outcome follows as kEvtWwanConnected or kEvtWwanConnectFailed.
  kor::Result ConnectBackhaul(uint32_t index, kor::util::IPFamily ip_family);

  // The same with kEvtWwanDisconnected or kEvtWwanDisconnectFailed.
  kor::Result DisconnectBackhaul(uint32_t index, kor::util::IPFamily ip_family);

  // kNotReady while the call is up and its configuration is incomplete; kFailure when it is not up. Waits for the
  // modem's answer, for 10 seconds at the longest (kTimeout).
  kor::Result GetNetworkConfig(uint32_t index, kor::util::IPFamily ip_family, NetworkConfig& config);

  // The switches of a policy's families: a call of a family that is switched off is refused, one that is up goes down.
  bool GetIpv4State(uint32_t index, bool& enabled);
  bool GetIpv6State(uint32_t index, bool& enabled);
  bool EnableIpv4(uint32_t index);
  bool DisableIpv4(uint32_t index);
  bool EnableIpv6(uint32_t index);
  bool DisableIpv6(uint32_t index);

  // The LAN. SetLanConfig() records a configuration, which GetLanConfig() answers from then on; ActivateLan() puts what
  // is recorded into force. Lease times are in seconds.
  bool GetLanConfig(std::string& gw, std::string& nm, bool& enable_dhcp, std::string& start, std::string& end,
                    int& lease);
  bool SetLanConfig(std::string gw, std::string nm, bool enable_dhcp, std::string start, std::string end,
                    unsigned int lease);
  bool ActivateLan();

  // VLANs by their vlan_id. The lists are emptied before they are filled. A mapping needs its VLAN and a positive pdn,
  // the index of a policy; it goes with its VLAN.
  bool SetVlanConfig(VlanConfig& config);
  bool DeleteVlanConfig(VlanConfig& config);
  bool GetVlanConfigs(std::vector<VlanConfig>& configs);
  bool SetPdnToVlanMapping(VlanConfig& config);
  bool DeletePdnToVlanMapping(VlanConfig& config);
  bool GetPdnToVlanMapping(std::vector<VlanMapping>& mappings);

  bool SetIpPassthrough(bool enable, IpPassthroughConfig& config);
  bool GetIpPassthrough(bool& enabled, IpPassthroughConfig& config);

  kor::util::EventCbMap event_cbs{rank::kDataTables};  // kEvtWwan* of every policy.
};

}  // namespace kor::vendor::qcom::qcmap
