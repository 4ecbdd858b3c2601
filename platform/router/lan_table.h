// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "common/mutex.h"
#include "common/vendor/lock_ranks.h"
#include "router/policy_table.h"
#include "wwan/mobileap_manager.h"

namespace kor::vendor::qcom::qcmap {

// What the mobile-AP side keeps of the LAN: the configuration that is recorded and the one that is in force, the VLANs
// and their PDNs, IP passthrough.
//
// Thread safety: all operations may be called from any thread.
class LanTable {
 public:
  using LanConfig = kor::wwan::MobileapManager::LanConfig;
  using VlanConfig = kor::wwan::MobileapManager::VlanConfig;
  using VlanMapping = kor::wwan::MobileapManager::VlanMapping;
  using IpPassthroughConfig = kor::wwan::MobileapManager::IpPassthroughConfig;

  // Starts as a plain router: 192.168.225.1/24, a pool of .20 to .60, leases of 12 hours. `policies` must outlive this.
  explicit LanTable(PolicyTable& policies) : policies_(policies) {}

  // What is recorded, and what is in force: that which was recorded at the last activation, not valid before the first.
  LanConfig Config() KOR_EXCLUDES(mutex_);
  LanConfig InForce() KOR_EXCLUDES(mutex_);

  // Records a configuration. False when an address does not parse, the gateway's is none that a host can have in its
  // subnet, the netmask's ones are not the first bits, or the pool's first address is above its last. Without DHCP
  // there need be no pool. Whether the pool lies in the subnet is not looked at: gateway and pool may move one after
  // the other.
  bool Set(const LanConfig& config) KOR_EXCLUDES(mutex_);

  // Puts what is recorded into force.
  void Activate() KOR_EXCLUDES(mutex_);

  // Adds or changes the VLAN of that number, 1 to 4094; its `pdn` is not looked at. Each returns false when there is no
  // such VLAN (mapping); mapping also when there is no PDN of that index but the default one, 0.
  bool SetVlan(const VlanConfig& config) KOR_EXCLUDES(mutex_);
  bool DeleteVlan(int32_t vlan_id) KOR_EXCLUDES(mutex_);
  bool MapVlan(int32_t vlan_id, int32_t pdn) KOR_EXCLUDES(mutex_);
  bool UnmapVlan(int32_t vlan_id) KOR_EXCLUDES(mutex_);

  // In the order of their numbers, with a `pdn` of -1.
  std::vector<VlanConfig> Vlans() KOR_EXCLUDES(mutex_);
  std::vector<VlanMapping> Mappings() KOR_EXCLUDES(mutex_);

  // PolicyTable::Delete, but false also while a VLAN is mapped to that PDN. The VLANs of the others go with them.
  bool DeletePdn(uint32_t pdn) KOR_EXCLUDES(mutex_);

  // False when the target is not one of the mode. The settings are kept also while it is off; switching it off without
  // a target leaves them as they are.
  bool SetPassthrough(bool enable, const IpPassthroughConfig& config) KOR_EXCLUDES(mutex_);
  bool GetPassthrough(IpPassthroughConfig& config) KOR_EXCLUDES(mutex_);  // Whether it is on.

 private:
  static LanConfig Defaults();

  PolicyTable& policies_;

  kor::util::Mutex mutex_{rank::kLan};
  LanConfig recorded_ KOR_GUARDED_BY(mutex_) = Defaults();
  LanConfig in_force_ KOR_GUARDED_BY(mutex_);
  std::map<int32_t, VlanConfig> vlans_ KOR_GUARDED_BY(mutex_);
  // VLAN to the handle of its PDN, whose index changes when another one is deleted; both are there.
  std::map<int32_t, int32_t> mappings_ KOR_GUARDED_BY(mutex_);
  bool passes_through_ KOR_GUARDED_BY(mutex_) = false;
  IpPassthroughConfig passthrough_ KOR_GUARDED_BY(mutex_);
};

}  // namespace kor::vendor::qcom::qcmap
