// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "kwwanctl/doctor/rules.h"

namespace kor::ctl::doctor {

namespace {

// Programs that write /etc/resolv.conf too, as the kernel names their processes (15 characters), and what their text or
// the link that they set holds.
struct Manager {
  const char* process;
  const char* sign;
};
constexpr Manager kManagers[] = {
    {"NetworkManager", "NetworkManager"},
    {"systemd-resolve", "systemd"},
    {"systemd-network", "systemd"},
    {"resolvconf", "resolvconf"},
    {"netifd", "resolv.conf.d"},
    {"connmand", "connman"},
    {"dhclient", "dhclient"},
    {"dhcpcd", "dhcpcd"},
    {"udhcpc", "udhcpc"},
    {"wicked", "wicked"},
};

// The first manager that has left its sign in the file or in the link that leads to it.
const Manager* FindSign(const Facts& facts) {
  const std::string text = facts.resolv_conf.text.value_or("") + facts.resolv_conf_leads_to;
  for (const Manager& manager : kManagers) {
    if (text.find(manager.sign) != std::string::npos) return &manager;
  }
  return nullptr;
}

}  // namespace

Finding JudgeResolvConf(const Facts& facts) {
  const char* name = "resolv-conf";
  const TextFile& file = facts.resolv_conf;
  if (!file.text && file.error == ENOENT) {
    return Problem(name, std::string(kResolvConfPath) + " is missing, or leads nowhere",
                   "Programs find no server, and the service cannot start without the file.",
                   std::string(": > ") + kResolvConfPath + "; " + kRestart);
  }
  if (!file.text) return Unreadable(name, file);
  if (*file.text == kor::wwan::kResolvConfText) return Ok(name, "names 127.0.0.1, as written");
  const std::string why = "Programs do not ask dnsmasq, so they miss the servers of the calls.";
  if (!file.text->empty() && file.text->front() == '\0')
    return Problem(name, "it begins with a NUL byte", "Such a text is taken for none and not repaired.",
                   std::string(": > ") + kResolvConfPath);
  return Problem(
      name, "not our text; " + NameServers(*file.text), why,
      std::string("Find who writes it (see other-manager and resolv-conf-watch); ls -l ") + kResolvConfPath +
          " shows a file that cannot be written. A change among thousands at once goes unnoticed. Then: " + kRestart);
}

Finding JudgeWatch(const Facts& facts) {
  const char* name = "resolv-conf-watch";
  const Processes& processes = facts.processes;
  const pid_t pid = facts.host.pid;
  if (pid > 0 && processes.watchers.count(pid) > 0) return Ok(name, "the host watches the file that is at the path");
  if (!facts.host.answered() || pid == 0) return Unknown(name, "no host whose watch could be looked at");
  if (!facts.host.dns_running) return Unknown(name, "the service that watches is not started");
  if (!facts.resolv_conf.text) return Unknown(name, "there is no file to watch");
  if (!processes.complete) {
    return Unknown(name, "not permitted to see the host's watches", "A file that was replaced is not watched any more.",
                   "Run the doctor as root.");
  }
  return Problem(
      name, "the host does not watch the file that is at the path",
      "It was replaced (mv, a link set anew): the watch went with the old one, so the next foreign text stays "
      "until an interface changes.",
      kRestart);
}

Finding JudgeManagers(const Facts& facts) {
  const char* name = "other-manager";
  const bool ours = facts.resolv_conf.text == std::string(kor::wwan::kResolvConfText);
  const bool nothing = !facts.resolv_conf.text && facts.resolv_conf_leads_to.empty();  // Nobody's text.
  std::string running;
  for (const Process& process : facts.processes.all) {
    const auto is = [&](const Manager& manager) { return process.name == manager.process; };
    if (std::any_of(std::begin(kManagers), std::end(kManagers), is))
      running += (running.empty() ? "" : ", ") + Text(process);
  }
  if (ours || nothing)
    return Ok(name, running.empty() ? "none runs" : running + " runs, and has not written the file as it is");
  const Manager* sign = FindSign(facts);
  if (running.empty() && sign == nullptr) return Ok(name, "none runs");
  std::string seen = running.empty() ? "" : running + " runs";
  if (sign != nullptr) seen += std::string(seen.empty() ? "" : "; ") + "the file has the sign of " + sign->process;
  if (!facts.resolv_conf_leads_to.empty()) seen += "; the path leads to " + facts.resolv_conf_leads_to;
  return Problem(
      name, seen, "Two programs write the same file; the one that writes last wins.",
      std::string("Tell that program to leave the file alone (NetworkManager: dns=none; systemd-resolved: no "
                  "link at ") +
          kResolvConfPath + "; udhcpc: no -s script that writes it), then make it a plain file: " + kRestart);
}

}  // namespace kor::ctl::doctor
