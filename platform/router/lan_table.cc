// SPDX-License-Identifier: Apache-2.0
#include "router/lan_table.h"

#include <algorithm>

#include "router/lan_rules.h"

namespace kor::vendor::qcom::qcmap {

RouterState LanTable::Snapshot() {
  kor::util::MutexLock lock(mutex_);
  RouterState state = policies_.Snapshot();
  state.lan = state_;
  return state;
}

LanTable::LanConfig LanTable::Config() {
  kor::util::MutexLock lock(mutex_);
  return state_.recorded;
}

LanTable::LanConfig LanTable::InForce() {
  kor::util::MutexLock lock(mutex_);
  return state_.in_force;
}

template <typename Change>
bool LanTable::Edit(Change change) {
  {
    kor::util::MutexLock lock(mutex_);
    if (!change(state_)) return false;
  }
  changed_();
  return true;
}

bool LanTable::Set(const LanConfig& config) {
  return IsLanConfig(config) && Edit([&config](LanState& state) {
           state.recorded = config;
           return state.recorded.valid = true;
         });
}

void LanTable::Activate() {
  (void)Edit([](LanState& state) { return (state.in_force = state.recorded).valid; });
}

bool LanTable::SetVlan(const VlanConfig& config) {
  return IsVlanId(config.vlan_id) && Edit([&config](LanState& state) {
           state.vlans[config.vlan_id] = {config.interface, config.vlan_id, -1};
           return true;
         });
}

bool LanTable::DeleteVlan(int32_t vlan_id) {
  return Edit([vlan_id](LanState& state) {
    state.mappings.erase(vlan_id);
    return state.vlans.erase(vlan_id) != 0;
  });
}

bool LanTable::MapVlan(int32_t vlan_id, int32_t pdn) {
  return Edit([this, vlan_id, pdn](LanState& state) {
    PolicyTable::WwanPolicy policy;
    if (state.vlans.count(vlan_id) == 0 || pdn <= 0 || !policies_.Get(static_cast<uint32_t>(pdn), policy)) return false;
    state.mappings[vlan_id] = policy.handle;
    return true;
  });
}

bool LanTable::UnmapVlan(int32_t vlan_id) {
  return Edit([vlan_id](LanState& state) { return state.mappings.erase(vlan_id) != 0; });
}

std::vector<LanTable::VlanConfig> LanTable::Vlans() {
  kor::util::MutexLock lock(mutex_);
  std::vector<VlanConfig> configs;
  for (const auto& entry : state_.vlans) configs.push_back(entry.second);
  return configs;
}

std::vector<LanTable::VlanMapping> LanTable::Mappings() {
  kor::util::MutexLock lock(mutex_);
  std::map<int32_t, int32_t> index_of;
  for (const auto& policy : policies_.List()) index_of.emplace(policy.handle, static_cast<int32_t>(index_of.size()));
  std::vector<VlanMapping> mappings;
  for (const auto& [vlan_id, handle] : state_.mappings) mappings.push_back({vlan_id, index_of.at(handle)});
  return mappings;
}

bool LanTable::DeletePdn(uint32_t pdn) {
  return Edit([this, pdn](LanState& state) {
    PolicyTable::WwanPolicy policy;
    if (!policies_.Get(pdn, policy)) return false;
    const auto serves = [&policy](const auto& mapping) { return mapping.second == policy.handle; };
    return std::none_of(state.mappings.begin(), state.mappings.end(), serves) && policies_.Delete(pdn);
  });
}

bool LanTable::SetPassthrough(bool enable, const IpPassthroughConfig& config) {
  const bool sets = enable || !config.target.empty();  // Off and without a target: what is kept stays.
  return (!sets || IsPassthrough(config)) && Edit([&](LanState& state) {
           state.passes_through = enable;
           if (sets) state.passthrough = config;
           return true;
         });
}

bool LanTable::GetPassthrough(IpPassthroughConfig& config) {
  kor::util::MutexLock lock(mutex_);
  config = state_.passthrough;
  return state_.passes_through;
}

}  // namespace kor::vendor::qcom::qcmap
