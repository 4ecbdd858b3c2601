// SPDX-License-Identifier: Apache-2.0
// dns.show, dns.start, dns.stop
#include "kwwand/methods/dns_methods.h"

#include "kwwand/host/dns_files.h"
#include "kwwand/methods/params.h"
#include "kwwand/methods/registry.h"

namespace kor::host {

Json DnsJson(Core& core) {
  const auto pid = ForwarderPid();
  const EventLog::DnsUpdates updates = core.log.dns_updates();
  Json last;
  if (updates.last) last = std::chrono::duration<double>(std::chrono::steady_clock::now() - *updates.last).count();
  return {{"running", core.dns_running()},
          {"forwarder_pid", pid ? Json(*pid) : Json()},
          {"servers", ForwarderServers()},
          {"source", PermanentFileIsUsed() ? "permanent file" : "calls"},
          {"resolv_conf_is_ours", ResolvConfIsOurs()},
          {"updates", updates.count},
          {"last_update_s", last}};
}

namespace {

Json Show(Core& core, const Request& request) {
  const Params params(request, {});
  return DnsJson(core);
}

Json Start(Core& core, const Request& request) {
  const Params params(request, {});
  core.StartDns();
  return DnsJson(core);
}

Json Stop(Core& core, const Request& request) {
  const Params params(request, {});
  core.StopDns();
  return DnsJson(core);
}

}  // namespace

void AddDnsMethods(Registry& registry) {
  registry.Read("dns.show", Show);
  registry.Change("dns.start", Start, Lane::kWaiting);
  registry.Change("dns.stop", Stop, Lane::kWaiting);
}

}  // namespace kor::host
