// SPDX-License-Identifier: Apache-2.0
// policy.*: the slots that bind calls to profiles.
#include "kwwand/host/words.h"
#include "kwwand/methods/policies.h"
#include "kwwand/methods/registry.h"

namespace kor::host {

namespace {

// The policy as it is after a change, which the watch looks at too.
Json AfterChange(Core& core, uint32_t index) {
  core.calls.Wake();
  const Statuses statuses = ReadStatuses(*core.data);
  Check(index < statuses.size(), "reading the policy");
  return PolicyJson(*core.data, index, statuses[index]);
}

uint32_t IndexOf(Core& core, const Params& params) { return PolicyIndex(params, ReadStatuses(*core.data).size()); }

Json ListPolicies(Core& core, const Request& request) {
  const Params params(request, {});
  return {{"policies", PoliciesJson(*core.data)}};
}

Json SetPolicy(Core& core, const Request& request) {
  const Params params(request, {"index", "family", "technology", "profile", "profile6"});
  const Statuses statuses = ReadStatuses(*core.data);
  const uint32_t index = PolicyIndex(params, statuses.size());
  const auto& now = statuses[index].policy;
  const auto technology = params.Has("technology") ? params.Technology("technology") : now.tech;
  const IPFamily family = params.Choice("family", kFamilies, now.ip_family);
  const int profile = params.Number("profile", 1, kMaxProfile, now.profile_1);
  const int profile6 = params.Number("profile6", 1, kMaxProfile, params.Has("profile") ? profile : now.profile_2);
  Check(core.data->SetPolicy(index, technology, family, profile, profile6), "changing the policy");
  return AfterChange(core, index);
}

Json CreatePolicy(Core& core, const Request& request) {
  const Params params(request, {"technology", "family", "profile", "profile6"});
  const auto technology = params.Has("technology") ? params.Technology("technology") : kor::wwan::Tech::kAny;
  const IPFamily family = params.Choice("family", kFamilies, IPFamily::kBoth);
  const int profile = params.Number("profile", 1, kMaxProfile);
  const int profile6 = params.Number("profile6", 1, kMaxProfile, profile);
  const bool made =
      core.data->CreatePdn(technology, family, static_cast<uint8_t>(profile), static_cast<uint8_t>(profile6));
  Check(made, "creating a policy");
  return AfterChange(core, static_cast<uint32_t>(ReadStatuses(*core.data).size() - 1));
}

Json DeletePolicy(Core& core, const Request& request) {
  const Params params(request, {"index"});
  const Statuses statuses = ReadStatuses(*core.data);
  const uint32_t index = PolicyIndex(params, statuses.size());
  Json policy = PolicyJson(*core.data, index, statuses[index]);
  Check(core.data->DeletePdn(static_cast<uint8_t>(index)),
        "deleting the policy (its calls must be down, and no VLAN on it)");
  return policy;
}

Json SetAutoConnect(Core& core, const Request& request) {
  const Params params(request, {"index", "on"});
  const uint32_t index = IndexOf(core, params);
  Check(core.data->SetAutoConnect(index, params.Switch("on")), "switching auto-connect");
  return AfterChange(core, index);
}

Json SetRoaming(Core& core, const Request& request) {
  const Params params(request, {"index", "on"});
  const uint32_t index = IndexOf(core, params);
  Check(core.data->SetRoaming(index, params.Switch("on")), "switching roaming");
  return AfterChange(core, index);
}

Json SetFamily(Core& core, const Request& request) {
  const Params params(request, {"index", "family", "on"});
  const uint32_t index = IndexOf(core, params);
  const IPFamily family = params.Choice("family", kFamilies);
  Check(core.data->SetIpv4Enabled(index, params.Switch("on"), family), "switching the family");
  return AfterChange(core, index);
}

}  // namespace

void AddPolicyMethods(Registry& registry) {
  registry.Read("policy.list", ListPolicies);
  registry.Change("policy.set", SetPolicy);
  registry.Change("policy.create", CreatePolicy);
  registry.Change("policy.delete", DeletePolicy);
  registry.Change("policy.autoconnect", SetAutoConnect);
  registry.Change("policy.roaming", SetRoaming);
  registry.Change("policy.family", SetFamily);
}

}  // namespace kor::host
