// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "common/mutex.h"
#include "common/vendor/lock_ranks.h"
#include "router/policy_table.h"
#include "router/router_state.h"
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

  // `changed` is called after each change, without a lock held. `policies` must outlive this.
  LanTable(PolicyTable& policies, LanState state, std::function<void()> changed)
      : policies_(policies), changed_(std::move(changed)), state_(std::move(state)) {}

  // All that is to be kept over a restart, the policies too, of one moment.
  RouterState Snapshot() KOR_EXCLUDES(mutex_);

  // What is recorded, and what is in force: that which was recorded at the last activation, not valid before the first.
  LanConfig Config() KOR_EXCLUDES(mutex_);
  LanConfig InForce() KOR_EXCLUDES(mutex_);

  // Records a configuration. False when it is none (lan_rules.h).
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
  // Makes a change under the lock and tells of it; false when `change` does.
  template <typename Change>
  bool Edit(Change change) KOR_EXCLUDES(mutex_);

  PolicyTable& policies_;
  const std::function<void()> changed_;

  kor::util::Mutex mutex_{rank::kLan};
  LanState state_ KOR_GUARDED_BY(mutex_);
};

}  // namespace kor::vendor::qcom::qcmap
