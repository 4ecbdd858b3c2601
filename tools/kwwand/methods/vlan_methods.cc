// SPDX-License-Identifier: Apache-2.0
// vlan.*: the LAN's VLANs and their PDNs. passthrough.*: the client that gets the WAN address.
#include "kwwand/host/words.h"
#include "kwwand/methods/params.h"
#include "kwwand/methods/registry.h"

namespace kor::host {

namespace {

using kor::wwan::MobileapManager;
using VlanConfig = MobileapManager::VlanConfig;

constexpr int kMaxVlan = 4094;
constexpr size_t kMaxTarget = 63;  // A host name's label.

std::vector<VlanConfig> ReadVlans(Core& core) {
  std::vector<VlanConfig> vlans;
  Check(core.mobileap->GetVlanConfigs(vlans), "reading the VLANs");
  return vlans;
}

Json VlansJson(Core& core) {
  Json vlans = Json::array();
  for (const VlanConfig& vlan : ReadVlans(core)) {
    vlans.push_back({{"id", vlan.vlan_id},
                     {"interface", TextOf(kLanInterfaces, vlan.interface)},
                     {"pdn", vlan.pdn < 0 ? Json() : Json(vlan.pdn)}});
  }
  return {{"vlans", vlans}};
}

// The VLAN in the member "id", which is there.
VlanConfig Existing(Core& core, const Params& params) {
  const int id = params.Number("id", 1, kMaxVlan);
  for (const VlanConfig& vlan : ReadVlans(core)) {
    if (vlan.vlan_id == id) return vlan;
  }
  params.Refuse("id", "the number of a VLAN that is there");
}

Json ListVlans(Core& core, const Request& request) {
  const Params params(request, {});
  return VlansJson(core);
}

Json AddVlan(Core& core, const Request& request) {
  const Params params(request, {"id", "interface"});
  VlanConfig vlan{params.Choice("interface", kLanInterfaces), params.Number("id", 1, kMaxVlan), -1};
  Check(core.mobileap->SetVlanConfig(true, vlan), "adding the VLAN");
  return VlansJson(core);
}

Json RemoveVlan(Core& core, const Request& request) {
  const Params params(request, {"id"});
  VlanConfig vlan = Existing(core, params);
  Check(core.mobileap->SetVlanConfig(false, vlan), "removing the VLAN");
  return VlansJson(core);
}

// The default PDN, 0, cannot be mapped. A mapped one may have become the default one, and be unmapped.
Json SetMapping(Core& core, const Request& request, bool map) {
  const Params params(request, {"id", "pdn"});
  VlanConfig vlan = Existing(core, params);
  vlan.pdn = params.Number("pdn", map ? 1 : 0, UINT8_MAX);
  Check(core.mobileap->SetPdnToVlanMapping(map, vlan),
        map ? "mapping the VLAN (the PDN must be a policy's index)" : "ending the VLAN's mapping");
  return VlansJson(core);
}

Json MapVlan(Core& core, const Request& request) { return SetMapping(core, request, true); }

Json UnmapVlan(Core& core, const Request& request) { return SetMapping(core, request, false); }

Json PassthroughJson(Core& core) {
  bool on = false;
  MobileapManager::IpPassthroughConfig config;
  Check(core.mobileap->GetIpPassthrough(on, config), "reading IP passthrough");
  return {{"on", on}, {"mode", TextOf(kPassthroughModes, config.mode)}, {"target", config.target}};
}

Json ShowPassthrough(Core& core, const Request& request) {
  const Params params(request, {});
  return PassthroughJson(core);
}

// A mode or target that is not given stays; another mode starts without a target. Off without one changes neither.
Json SetPassthrough(Core& core, const Request& request) {
  const Params params(request, {"on", "mode", "target"});
  bool was_on = false;
  MobileapManager::IpPassthroughConfig config;
  Check(core.mobileap->GetIpPassthrough(was_on, config), "reading IP passthrough");
  const PassthroughMode mode = params.Choice("mode", kPassthroughModes, config.mode);
  config.target = params.Text("target", kMaxTarget, mode == config.mode ? config.target : "");
  config.mode = mode;
  if (mode == PassthroughMode::kFirstClient && !config.target.empty()) {
    params.Refuse("target", "no value with the mode first-client");
  }
  if (mode != PassthroughMode::kFirstClient && config.target.empty()) {
    params.Refuse("target", mode == PassthroughMode::kMacAddress ? "a MAC address such as 02:00:5e:10:00:01"
                                                                 : "a DHCP host name");
  }
  Check(core.mobileap->SetIpPassthrough(params.Switch("on"), config), "switching IP passthrough");
  return PassthroughJson(core);
}

}  // namespace

void AddVlanMethods(Registry& registry) {
  registry.Read("vlan.list", ListVlans);
  registry.Change("vlan.add", AddVlan);
  registry.Change("vlan.remove", RemoveVlan);
  registry.Change("vlan.map", MapVlan);
  registry.Change("vlan.unmap", UnmapVlan);
  registry.Read("passthrough.show", ShowPassthrough);
  registry.Change("passthrough.set", SetPassthrough);
}

}  // namespace kor::host
