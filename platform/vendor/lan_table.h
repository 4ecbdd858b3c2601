// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "common/mutex.h"
#include "common/result.h"
#include "common/vendor/lock_ranks.h"
#include "modem/modem_port.h"
#include "wwan/mobileap_manager.h"

namespace kor::vendor::qcom::qcmap {

// What the mobile-AP side keeps of the LAN: the configuration that is recorded, the VLANs and their PDNs, IP
// passthrough.
//
// Thread safety: all operations may be called from any thread.
class LanTable {
 public:
  using LanConfig = kor::wwan::MobileapManager::LanConfig;
  using VlanConfig = kor::wwan::MobileapManager::VlanConfig;
  using VlanMapping = kor::wwan::MobileapManager::VlanMapping;
  using IpPassthroughConfig = kor::wwan::MobileapManager::IpPassthroughConfig;

  // Starts as a plain router: 192.168.225.1/24, a pool of .20 to .60, leases of 12 hours. `port` must outlive this.
  explicit LanTable(kor::modem::ModemPort& port) : port_(port) {}

  LanConfig Get() KOR_EXCLUDES(mutex_);

  // Records a configuration. False when an address does not parse, the netmask's ones are not the first bits, or the
  // pool's first address is above its last. Whether the pool lies in the subnet is not looked at: gateway and pool may
  // move one after the other.
  bool Set(const LanConfig& config) KOR_EXCLUDES(mutex_);

  // Puts what is recorded into force.
  kor::Result Activate() KOR_EXCLUDES(mutex_);

  // Adds or changes the VLAN of that number, 1 to 4094; its `pdn` is not looked at. Each returns false when there is no
  // such VLAN (mapping).
  bool SetVlan(const VlanConfig& config) KOR_EXCLUDES(mutex_);
  bool DeleteVlan(int32_t vlan_id) KOR_EXCLUDES(mutex_);
  bool MapVlan(int32_t vlan_id, int32_t pdn) KOR_EXCLUDES(mutex_);
  bool UnmapVlan(int32_t vlan_id) KOR_EXCLUDES(mutex_);

  // In the order of their numbers, with a `pdn` of -1.
  std::vector<VlanConfig> Vlans() KOR_EXCLUDES(mutex_);
  std::vector<VlanMapping> Mappings() KOR_EXCLUDES(mutex_);

  // False when the target is not one of the mode. The settings are kept also while it is off.
  bool SetPassthrough(bool enable, const IpPassthroughConfig& config) KOR_EXCLUDES(mutex_);
  bool GetPassthrough(IpPassthroughConfig& config) KOR_EXCLUDES(mutex_);  // Whether it is on.

 private:
  static LanConfig Defaults();

  kor::modem::ModemPort& port_;

  kor::util::Mutex mutex_{rank::kVendor};
  LanConfig lan_ KOR_GUARDED_BY(mutex_) = Defaults();
  std::map<int32_t, VlanConfig> vlans_ KOR_GUARDED_BY(mutex_);
  std::map<int32_t, int32_t> mappings_ KOR_GUARDED_BY(mutex_);  // VLAN to PDN; each VLAN is in vlans_.
  bool passes_through_ KOR_GUARDED_BY(mutex_) = false;
  IpPassthroughConfig passthrough_ KOR_GUARDED_BY(mutex_);
};

}  // namespace kor::vendor::qcom::qcmap
