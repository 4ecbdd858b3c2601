// SPDX-License-Identifier: Apache-2.0
// host.status: everything on one screen. device.show: the modem.
#include "kwwand/host/results.h"
#include "kwwand/methods/dns_methods.h"
#include "kwwand/methods/params.h"
#include "kwwand/methods/policies.h"
#include "kwwand/methods/registry.h"

namespace kor::host {

namespace {

// Null where the modem does not say.
Json DeviceJson(Core& core) {
  std::string model;
  std::string version;
  const bool has_model = core.device->GetModelId(model) == kor::Result::kSuccess;
  const bool has_version = core.device->GetTmcfgPkgVer(version) == kor::Result::kSuccess;
  return {{"model", has_model ? Json(model) : Json()}, {"package_version", has_version ? Json(version) : Json()}};
}

Json WaitsJson(Core& core) {
  Json waits = Json::array();
  for (const auto& waiting : core.calls.Waits()) {
    waits.push_back({{"index", waiting.index},
                     {"family", TextOf(kCallFamilies, waiting.key.second)},
                     {"attempt", waiting.attempt},
                     {"next_s", std::chrono::duration<double>(waiting.left).count()}});
  }
  return waits;
}

Json Status(Core& core, const Request& request) {
  const Params params(request, {});
  return {{"policies", PoliciesJson(*core.data)},
          {"dns", DnsJson(core)},
          {"device", DeviceJson(core)},
          {"reconnect", WaitsJson(core)}};
}

Json ShowDevice(Core& core, const Request& request) {
  const Params params(request, {});
  std::string model;
  Check(core.device->GetModelId(model), "reading the model");
  return DeviceJson(core);
}

}  // namespace

void AddHostMethods(Registry& registry) {
  registry.Read("host.status", Status);
  registry.Read("device.show", ShowDevice, Lane::kWaiting);
}

}  // namespace kor::host
