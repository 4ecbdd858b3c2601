// SPDX-License-Identifier: Apache-2.0
#include "router/router_state.h"

#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>

#include "router/lan_rules.h"

namespace kor::vendor::qcom::qcmap {

namespace {

using Json = nlohmann::ordered_json;
using Manager = kor::wwan::MobileapManager;

constexpr int kVersion = 1;

Json ToJson(const PolicyState& state) {
  return {{"handle", state.policy.handle},
          {"profile_1", state.policy.profile_1},
          {"profile_2", state.policy.profile_2},
          {"technology", static_cast<uint32_t>(state.policy.tech)},
          {"family", static_cast<uint32_t>(state.policy.ip_family)},
          {"auto_connect", state.auto_connect},
          {"roaming", state.roaming},
          {"ipv4", state.ipv4},
          {"ipv6", state.ipv6}};
}

Json ToJson(const Manager::LanConfig& config) {
  if (!config.valid) return nullptr;
  return {{"gateway", config.gw},          {"netmask", config.nm},      {"dhcp", config.enable_dhcp},
          {"start", config.dhcp_start_ip}, {"end", config.dhcp_end_ip}, {"lease", config.dhcp_lease_time}};
}

[[noreturn]] void Refuse(const std::string& what) { throw std::runtime_error(what); }

// A number that T holds, and not below `min` or above `max`.
template <typename T>
T Number(const Json& object, const char* key, T min = std::numeric_limits<T>::min(),
         T max = std::numeric_limits<T>::max()) {
  const Json& value = object.at(key);
  constexpr auto kMost = static_cast<uint64_t>(std::numeric_limits<int64_t>::max());
  const bool fits = value.is_number_unsigned() ? value.get<uint64_t>() <= kMost : value.is_number_integer();
  if (!fits || value.get<int64_t>() < int64_t{min} || value.get<int64_t>() > int64_t{max}) {
    Refuse(std::string(key) + " is " + value.dump());
  }
  return static_cast<T>(value.get<int64_t>());
}

PolicyState ReadPolicy(const Json& json, int32_t next_handle) {
  PolicyState state;
  state.policy = {Number<int>(json, "profile_1"), Number<int>(json, "profile_2"),
                  kor::wwan::Tech{Number<uint32_t>(json, "technology")},
                  kor::util::IPFamily{Number<uint32_t>(json, "family")},
                  Number<int32_t>(json, "handle", kFirstHandle, next_handle - 1)};
  state.auto_connect = json.at("auto_connect").get<bool>();
  state.roaming = json.at("roaming").get<bool>();
  state.ipv4 = json.at("ipv4").get<bool>();
  state.ipv6 = json.at("ipv6").get<bool>();
  return state;
}

Manager::LanConfig ReadLanConfig(const Json& json) {
  Manager::LanConfig config{true,
                            json.at("gateway").get<std::string>(),
                            json.at("netmask").get<std::string>(),
                            json.at("dhcp").get<bool>(),
                            json.at("start").get<std::string>(),
                            json.at("end").get<std::string>(),
                            Number<int32_t>(json, "lease")};
  if (!IsLanConfig(config)) Refuse("no LAN is " + json.dump());
  return config;
}

void ReadLan(const Json& json, const std::set<int32_t>& handles, LanState& lan) {
  lan.recorded = ReadLanConfig(json.at("recorded"));
  if (!json.at("in_force").is_null()) lan.in_force = ReadLanConfig(json.at("in_force"));
  for (const Json& vlan : json.at("vlans")) {
    const auto id = Number<int32_t>(vlan, "id");
    if (!IsVlanId(id)) Refuse("no VLAN is " + vlan.dump());
    lan.vlans[id] = {Manager::LanInterface{Number<uint32_t>(vlan, "interface")}, id, -1};
    if (vlan.at("policy").is_null()) continue;
    const auto handle = Number<int32_t>(vlan, "policy");
    if (handles.count(handle) == 0) Refuse("no policy has the handle of " + vlan.dump());
    lan.mappings[id] = handle;
  }
  const Json& passthrough = json.at("passthrough");
  lan.passes_through = passthrough.at("on").get<bool>();
  lan.passthrough = {Manager::IpPassthroughMode{Number<uint32_t>(passthrough, "mode")},
                     passthrough.at("target").get<std::string>()};
  if (!IsPassthrough(lan.passthrough)) Refuse("no passthrough is " + passthrough.dump());
}

}  // namespace

std::string StateText(const RouterState& state) {
  Json policies = Json::array();
  for (const PolicyState& policy : state.policies) policies.push_back(ToJson(policy));
  const LanState& lan = state.lan;
  Json vlans = Json::array();
  for (const auto& [id, vlan] : lan.vlans) {
    const auto mapping = lan.mappings.find(id);
    vlans.push_back({{"id", id},
                     {"interface", static_cast<uint32_t>(vlan.interface)},
                     {"policy", mapping == lan.mappings.end() ? Json() : Json(mapping->second)}});
  }
  const Json passthrough{{"on", lan.passes_through},
                         {"mode", static_cast<uint32_t>(lan.passthrough.mode)},
                         {"target", lan.passthrough.target}};
  const Json json{{"version", kVersion},
                  {"next_handle", state.next_handle},
                  {"policies", policies},
                  {"lan",
                   {{"recorded", ToJson(lan.recorded)},
                    {"in_force", ToJson(lan.in_force)},
                    {"vlans", vlans},
                    {"passthrough", passthrough}}}};
  return json.dump(1) + "\n";
}

RouterState ReadState(const std::string& text) {
  const Json json = Json::parse(text);
  const auto version = Number<int32_t>(json, "version");
  if (version != kVersion) {
    Refuse("it is of version " + std::to_string(version) + ", this router reads version " + std::to_string(kVersion));
  }
  RouterState state;
  state.next_handle = Number<int32_t>(json, "next_handle", kFirstHandle, kLastHandle);
  state.policies.clear();
  std::set<int32_t> handles;
  for (const Json& policy : json.at("policies")) {
    state.policies.push_back(ReadPolicy(policy, state.next_handle));
    handles.insert(state.policies.back().policy.handle);
  }
  if (handles.size() != state.policies.size()) Refuse("two policies have one handle");
  if (state.policies.size() > kMaxPolicies) Refuse("there are too many policies");
  ReadLan(json.at("lan"), handles, state.lan);
  return state;
}

}  // namespace kor::vendor::qcom::qcmap
