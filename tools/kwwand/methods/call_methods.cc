// SPDX-License-Identifier: Apache-2.0
// call.list, call.show, call.up, call.down
#include <optional>

#include "kwwand/host/words.h"
#include "kwwand/methods/call_report.h"
#include "kwwand/methods/policies.h"
#include "kwwand/methods/registry.h"

namespace kor::host {

namespace {

using kor::wwan::DataManager;

// The policy and family that a request names, by index or by profile number.
struct Target {
  std::optional<int> cid;
  std::optional<uint32_t> index;  // Nothing when a policy has still to be made for the profile.
  IPFamily family = IPFamily::kIpv4;
};

std::optional<int> CidOf(const Params& params) {
  if (params.Has("index") && params.Has("cid")) params.Refuse("cid", "no value together with index");
  if (!params.Has("cid")) return std::nullopt;
  return params.Number("cid", 1, kMaxProfile);
}

// The policy that the library will take for a profile: the first that carries it, or is idle and is given it.
std::optional<uint32_t> ServerOf(const Statuses& statuses, int cid, IPFamily family) {
  const auto carrier = CarrierOf(statuses, cid, family);
  for (uint32_t i = 0; i < statuses.size(); ++i) {
    const bool idle = statuses[i].ipv4_status == ConnectStatus::kDisconnected &&
                      statuses[i].ipv6_status == ConnectStatus::kDisconnected;
    if (idle || carrier == i) return i;
  }
  return std::nullopt;
}

Target ReadTarget(const Params& params, const Statuses& statuses, bool up) {
  Target target;
  target.family = params.Choice("family", kCallFamilies);
  target.cid = CidOf(params);
  if (!target.cid) {
    target.index = PolicyIndex(params, statuses.size());
  } else if (up) {
    target.index = ServerOf(statuses, *target.cid, target.family);
  } else {
    target.index = CarrierOf(statuses, *target.cid, target.family);
    if (!target.index) params.Refuse("cid", "the number of a profile that a policy carries");
  }
  return target;
}

kor::Result Ask(const Target& target, bool up, bool wait) {
  DataManager data;  // One waits at a time for each object.
  if (!up) return data.Disconnect(*target.index, target.family, wait);
  if (target.cid) return data.ConnectWithCid(*target.cid, target.family, wait);
  return data.Connect(*target.index, target.family, wait);
}

// Why the modem would refuse to connect.
std::string Hint(DataManager& data, uint32_t index, const DataManager::WwanStatus& status, IPFamily family) {
  const std::string name = TextOf(kCallFamilies, family);
  if (status.policy.ip_family != family && status.policy.ip_family != IPFamily::kBoth) {
    return "the policy makes no " + name + " calls";
  }
  bool ipv4 = true;
  bool ipv6 = true;
  const bool known = data.GetIpvEnabled(index, ipv4, ipv6);
  return known && !(family == IPFamily::kIpv4 ? ipv4 : ipv6) ? name + " is switched off for the policy" : "";
}

Json Answer(DataManager& data, uint32_t index, const DataManager::WwanStatus& status, IPFamily family) {
  const Json policy = PolicyJson(data, index, status);
  const std::string name = TextOf(kCallFamilies, family);
  const Json& call = policy["calls"][name];
  return {{"index", index},
          {"family", name},
          {"state", call["state"]},
          {"interface", policy["interface"]},
          {"address", call["address"]},
          {"dns", call["dns"]}};
}

// The story's beginning.
CallStory Begin(const Target& target, const Statuses& statuses, bool up, bool wait) {
  CallStory story;
  story.up = up;
  story.family = target.family;
  story.waited = wait;
  story.before = ConnectStatus::kDisconnected;
  if (target.index) {
    story.index = *target.index;
    story.handle = statuses[*target.index].policy.handle;
    story.before = StateOf(statuses[*target.index], target.family);
  }
  return story;
}

Json Move(Core& core, const Request& request, bool up) {
  const Params params(request, {"index", "cid", "family", "wait", "progress"});
  Statuses statuses = ReadStatuses(*core.data);
  Target target = ReadTarget(params, statuses, up);
  const bool wait = params.Switch("wait", true);
  const bool progress = params.Switch("progress", false);

  CallStory story = Begin(target, statuses, up, wait);
  CallReport report(core.log, core.calls, story, progress ? request.progress : nullptr);
  const kor::Result result = Ask(target, up, wait);

  statuses = ReadStatuses(*core.data);
  if (up && target.cid) target.index = CarrierOf(statuses, *target.cid, target.family);
  if (!target.index || *target.index >= statuses.size()) Check(false, "no policy can be had for the profile");
  const DataManager::WwanStatus& status = statuses[*target.index];
  report.Serve(*target.index, status.policy.handle);
  const std::string hint = up ? Hint(*core.data, *target.index, status, target.family) : "";
  story = report.Finish({{}, result, StateOf(status, target.family), hint});
  const Json explain = Explain(story);
  if (result != kor::Result::kSuccess) {
    throw RequestError(AnswerCode(story), explain["summary"], {{"explain", explain}});
  }
  Json answer = Answer(*core.data, *target.index, status, target.family);
  answer["explain"] = explain;
  return answer;
}

Json BringUp(Core& core, const Request& request) { return Move(core, request, true); }

Json TakeDown(Core& core, const Request& request) { return Move(core, request, false); }

Json ListCalls(Core& core, const Request& request) {
  const Params params(request, {});
  return {{"policies", PoliciesJson(*core.data)}};
}

Json ShowCall(Core& core, const Request& request) {
  const Params params(request, {"index", "cid"});
  const Statuses statuses = ReadStatuses(*core.data);
  const auto cid = CidOf(params);
  std::optional<uint32_t> index;
  if (cid) {
    index = CarrierOf(statuses, *cid, IPFamily::kIpv4);
    if (!index) index = CarrierOf(statuses, *cid, IPFamily::kIpv6);
    if (!index) params.Refuse("cid", "the number of a profile that a policy carries");
  } else {
    index = PolicyIndex(params, statuses.size());
  }
  return PolicyJson(*core.data, *index, statuses[*index]);
}

}  // namespace

void AddCallMethods(Registry& registry) {
  registry.Read("call.list", ListCalls);
  registry.Read("call.show", ShowCall);
  registry.Change("call.up", BringUp, Lane::kWaiting);
  registry.Change("call.down", TakeDown, Lane::kWaiting);
}

}  // namespace kor::host
