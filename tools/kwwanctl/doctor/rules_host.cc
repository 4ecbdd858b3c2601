// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/doctor/rules.h"

namespace kor::ctl::doctor {

Finding JudgeHost(const Facts& facts) {
  const Host& host = facts.host;
  if (host.answered()) return Ok("host", "kwwand " + host.version + ", process " + std::to_string(host.pid));
  return Problem("host", host.error,
                 "Without a host nobody repairs the files, starts dnsmasq again or connects. When another program uses "
                 "the library here, the findings below count all the same.",
                 "Start kwwand, or name its socket with --socket (this was " + host.socket + ").");
}

Finding JudgeNamespaces(const Facts& facts) {
  const char* name = "namespaces";
  const Host& host = facts.host;
  if (!host.answered()) return Unknown(name, "no host to compare with");
  if (host.pid == 0 || host.own_pids.value_or(false)) {
    return Problem(name, "the host counts processes in a namespace of its own",
                   "The pid file's number means another process outside, and after a restart inside too: the library "
                   "takes it for its dnsmasq, does not start one, and kills that process when it stops.",
                   "Run kwwand without a private pid namespace (no unshare --pid, no container of its own).");
  }
  if (host.own_network.value_or(false)) {
    return Problem(name, "the host is in another network namespace than this program",
                   "Its 127.0.0.1 is another one: the programs here do not reach its dnsmasq.",
                   "Run kwwand in the network namespace of the programs that need names.");
  }
  if (!host.own_pids || !host.own_network)
    return Unknown(name, "not permitted to see the host's", "", "Run the doctor as root.");
  return Ok(name, "the host and this program share theirs");
}

Finding JudgeService(const Facts& facts) {
  const char* name = "dns-service";
  if (!facts.host.answered()) return Unknown(name, "no host to ask");
  if (facts.host.dns_running) return Ok(name, "started");
  return Problem(name, "not started",
                 "Nobody writes the files, and a call that is waited for runs into its 10 seconds.",
                 "kwwanctl dns start; when it fails, the last error in the system log says why.");
}

Finding JudgeCalls(const Facts& facts) {
  const char* name = "calls";
  if (!facts.host.answered()) return Unknown(name, "no host to ask");
  if (!facts.host.call_up) {
    return Problem(name, "no call is up", "The name servers are those of the calls; without one there is none to ask.",
                   "kwwanctl call up; it explains what keeps a call down.");
  }
  if (!facts.host.servers.empty()) return Ok(name, "up, with " + Join(facts.host.servers));
  return Problem(name, "up, and the network gave no name server", "dnsmasq has nobody to ask.",
                 std::string("Put servers into ") + kPermanentDnsPath + ", or ask the network's operator.");
}

}  // namespace kor::ctl::doctor
