// SPDX-License-Identifier: Apache-2.0
// host.status: everything on one screen. device.show: the modem. dns.*: the DNS service.
#include <algorithm>
#include <chrono>

#include "kwwand/host/words.h"
#include "kwwand/methods/params.h"
#include "kwwand/methods/policies.h"
#include "kwwand/methods/registry.h"
#include "shared/dns_files.h"

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
  const auto now = std::chrono::steady_clock::now();
  Json waits = Json::array();
  for (const auto& waiting : core.calls.Waits()) {
    waits.push_back({{"index", waiting.index},
                     {"family", TextOf(kCallFamilies, waiting.family)},
                     {"attempt", waiting.attempt},
                     {"next_s", std::max(std::chrono::duration<double>(waiting.next - now).count(), 0.0)}});
  }
  return waits;
}

// The DNS service and what its files say.
Json DnsJson(Core& core) {
  const auto pid = kor::tools::ForwarderPid();
  const EventLog::DnsUpdates updates = core.log.dns_updates();
  Json last;
  if (updates.last) last = std::chrono::duration<double>(std::chrono::steady_clock::now() - *updates.last).count();
  return {{"running", core.dns_running()},
          {"forwarder_pid", pid ? Json(*pid) : Json()},
          {"servers", kor::tools::ForwarderServers()},
          {"source", kor::tools::PermanentFileIsUsed() ? "permanent file" : "calls"},
          {"resolv_conf_is_ours", kor::tools::ResolvConfIsOurs()},
          {"updates", updates.count},
          {"last_update_s", last}};
}

Json ShowStatus(Core& core, const Request& request) {
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

Json ShowDns(Core& core, const Request& request) {
  const Params params(request, {});
  return DnsJson(core);
}

Json StartDns(Core& core, const Request& request) {
  const Params params(request, {});
  core.StartDns();
  return DnsJson(core);
}

Json StopDns(Core& core, const Request& request) {
  const Params params(request, {});
  core.StopDns();
  return DnsJson(core);
}

}  // namespace

void AddHostMethods(Registry& registry) {
  registry.Read("host.status", ShowStatus);
  registry.Read("device.show", ShowDevice, Lane::kWaiting);
  registry.Read("dns.show", ShowDns);
  registry.Change("dns.start", StartDns, Lane::kWaiting);
  registry.Change("dns.stop", StopDns, Lane::kWaiting);
}

}  // namespace kor::host
