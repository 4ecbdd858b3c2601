// SPDX-License-Identifier: Apache-2.0
#include "kwwand/methods/policies.h"

#include "common/addresses.h"
#include "kwwand/host/words.h"

namespace kor::host {

namespace {

using kor::wwan::DataManager;

constexpr char kDataInterfaces[] = "rmnet_data";
constexpr char kNoServer[] = "0.0.0.0";  // What the modem reports for a server that it was not given.

struct Call {
  bool enabled = false;
  ConnectStatus state = ConnectStatus::kNone;
  std::string address;  // Empty while it has none.
  Json dns = Json::array();
};

bool Has(const std::string& name, const Call& call, bool ipv6) {
  return !call.address.empty() && kor::util::InterfaceHas(name, call.address, ipv6);
}

// The interface that has one of the calls' addresses; null without one.
Json InterfaceOf(const Call& ipv4, const Call& ipv6) {
  if (ipv4.address.empty() && ipv6.address.empty()) return nullptr;
  for (const std::string& name : kor::util::NetworkManager::GetIfNames()) {
    if (name.rfind(kDataInterfaces, 0) != 0) continue;
    if (Has(name, ipv4, false) || Has(name, ipv6, true)) return name;
  }
  return nullptr;
}

Call ReadCall(DataManager& data, uint32_t index, IPFamily family, ConnectStatus state, bool enabled) {
  Call call{enabled, state, "", Json::array()};
  DataManager::NetworkConfig config;
  if (data.GetNetworkConfig(index, family, config) != kor::Result::kSuccess || config.ip_family != family) return call;
  call.address = config.address;
  for (const std::string& server : {config.dns_1, config.dns_2}) {
    if (!server.empty() && server != kNoServer) call.dns.push_back(server);
  }
  return call;
}

Json CallJson(const Call& call) {
  return {{"enabled", call.enabled},
          {"state", TextOf(kStates, call.state)},
          {"address", call.address.empty() ? Json() : Json(call.address)},
          {"dns", call.dns}};
}

// None for a family that the policy has not, when it was given one alone.
Json ProfileJson(int number) { return number < 0 ? Json() : Json(number); }

}  // namespace

Statuses ReadStatuses(DataManager& data) {
  Statuses statuses;
  Check(data.GetWwanStatuses(statuses), "reading the policies");
  return statuses;
}

uint32_t PolicyIndex(const Params& params, size_t policies) {
  const int index = params.Number("index", 0, UINT8_MAX);
  if (static_cast<size_t>(index) < policies) return static_cast<uint32_t>(index);
  params.Refuse("index", policies == 0 ? "the number of a policy (there is none)"
                                       : "the number of a policy, 0 to " + std::to_string(policies - 1));
}

ConnectStatus StateOf(const DataManager::WwanStatus& status, IPFamily family) {
  return family == IPFamily::kIpv4 ? status.ipv4_status : status.ipv6_status;
}

std::optional<uint32_t> CarrierOf(const Statuses& statuses, int cid, IPFamily family) {
  for (uint32_t i = 0; i < statuses.size(); ++i) {
    const DataManager::WwanPolicy& policy = statuses[i].policy;
    if ((family == IPFamily::kIpv4 ? policy.profile_1 : policy.profile_2) == cid) return i;
  }
  return std::nullopt;
}

Json PolicyJson(DataManager& data, uint32_t index, const DataManager::WwanStatus& status) {
  bool auto_connect = false;
  bool roaming = false;
  bool ipv4_enabled = false;
  bool ipv6_enabled = false;
  const bool read = data.GetAutoConnect(index, auto_connect) && data.GetRoaming(index, roaming) &&
                    data.GetIpvEnabled(index, ipv4_enabled, ipv6_enabled);
  Check(read, "reading policy " + std::to_string(index));
  const Call ipv4 = ReadCall(data, index, IPFamily::kIpv4, status.ipv4_status, ipv4_enabled);
  const Call ipv6 = ReadCall(data, index, IPFamily::kIpv6, status.ipv6_status, ipv6_enabled);
  const DataManager::WwanPolicy& policy = status.policy;
  return {{"index", index},
          {"handle", policy.handle},
          {"technology", TechnologyText(policy.tech)},
          {"family", TextOf(kFamilies, policy.ip_family)},
          {"profiles", {{"ipv4", ProfileJson(policy.profile_1)}, {"ipv6", ProfileJson(policy.profile_2)}}},
          {"auto_connect", auto_connect},
          {"roaming", roaming},
          {"interface", InterfaceOf(ipv4, ipv6)},
          {"calls", {{"ipv4", CallJson(ipv4)}, {"ipv6", CallJson(ipv6)}}}};
}

Json PoliciesJson(DataManager& data) {
  const Statuses statuses = ReadStatuses(data);
  Json policies = Json::array();
  for (uint32_t i = 0; i < statuses.size(); ++i) policies.push_back(PolicyJson(data, i, statuses[i]));
  return policies;
}

}  // namespace kor::host
