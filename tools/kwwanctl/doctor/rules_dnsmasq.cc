// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "kwwanctl/doctor/rules.h"

namespace kor::ctl::doctor {

namespace {

bool IsOurs(const Process& process) {
  return process.name == "dnsmasq" && !process.zombie && process.command.find(kDnsmasqPidPath) != std::string::npos;
}

const Process* Find(const Processes& processes, long pid) {
  const auto is = [=](const Process& process) { return process.pid == pid; };
  const auto found = std::find_if(processes.all.begin(), processes.all.end(), is);
  return found == processes.all.end() ? nullptr : &*found;
}

// The dnsmasq of the library, whatever the pid file says.
const Process* FindOurs(const Processes& processes) {
  const auto found = std::find_if(processes.all.begin(), processes.all.end(), IsOurs);
  return found == processes.all.end() ? nullptr : &*found;
}

// What to do about a pid file that does not name our dnsmasq. The file goes first: stopping kills what it names.
std::string WithoutPidFile(const Process* ours) {
  const std::string kill = ours == nullptr ? "" : "kill -9 " + std::to_string(ours->pid) + "; ";
  return std::string("rm -f ") + kDnsmasqPidPath + "; " + kill + kRestart;
}

std::string AndOurs(const Process* ours) {
  return ours == nullptr ? "; no dnsmasq of ours runs" : "; ours runs as " + std::to_string(ours->pid);
}

Finding JudgeMissingPid(const Facts& facts) {
  const Process* ours = FindOurs(facts.processes);
  if (ours == nullptr) {
    return Problem("pid-file", "there is none, and no dnsmasq of ours runs", "Nobody answers on 127.0.0.1.",
                   std::string(kRestart) + "; when it does not come up: is it installed, and who has port 53?");
  }
  return Problem("pid-file", "there is none" + AndOurs(ours),
                 "Every change of an interface starts a second one, which fails; and nobody stops the first.",
                 WithoutPidFile(ours));
}

Finding JudgeNamedProcess(const Facts& facts, long pid) {
  const char* name = "pid-file";
  const Process* ours = FindOurs(facts.processes);
  const Process* named = Find(facts.processes, pid);
  if (named == nullptr) {
    return Problem(name, "names " + std::to_string(pid) + ", which does not run" + AndOurs(ours),
                   "dnsmasq died, and is started again when an interface changes, not before.",
                   ours == nullptr ? kRestart : WithoutPidFile(ours));
  }
  if (IsOurs(*named)) return Ok(name, "names dnsmasq (" + std::to_string(pid) + ")");
  const std::string what = named->zombie ? ", which has ended and waits to be reaped" : "";
  return Problem(name, "names " + Text(*named) + what + AndOurs(ours),
                 "The library believes any live process to be its dnsmasq: it starts none, and kills that process when "
                 "the service stops.",
                 "Before the service stops: " + WithoutPidFile(ours));
}

// Who takes what is sent to 127.0.0.1 by that protocol: those of the address itself, or else of every address.
std::vector<Listener> ListenersOf(const Processes& processes, const char* protocol) {
  std::vector<Listener> on_address, on_every;
  for (const Listener& listener : processes.listeners) {
    if (listener.protocol == protocol) (listener.wildcard ? on_every : on_address).push_back(listener);
  }
  return on_address.empty() ? on_every : on_address;
}

}  // namespace

Finding JudgePidFile(const Facts& facts) {
  const char* name = "pid-file";
  const TextFile& file = facts.pid_file;
  if (!file.text && file.error == ENOENT) return JudgeMissingPid(facts);
  if (!file.text) return Unreadable(name, file);
  const long pid = strtol(file.text->c_str(), nullptr, 10);
  if (facts.host.own_pids.value_or(false))
    return Unknown(name, "names " + std::to_string(pid) + " in the host's own count", "See namespaces.", "");
  if (pid >= 1) return JudgeNamedProcess(facts, pid);
  const Process* ours = FindOurs(facts.processes);
  return Problem(name, (file.text->empty() ? "is empty" : "holds no process id") + AndOurs(ours),
                 "The library starts a second dnsmasq at every change, and cannot stop the one that runs.",
                 WithoutPidFile(ours) + "; when it stays so: df /var/run");
}

Finding JudgePort(const Facts& facts) {
  const char* name = "port-53";
  const char* why = "What asks 127.0.0.1 asks that program, and our dnsmasq cannot take the address.";
  for (const char* protocol : {"udp", "tcp"}) {
    const std::vector<Listener> listeners = ListenersOf(facts.processes, protocol);
    if (listeners.empty()) {
      return Problem(name, std::string("nobody listens on 127.0.0.1 (") + protocol + ")",
                     "Every program that asks for a name is refused.", "See pid-file.");
    }
    for (const Listener& listener : listeners) {
      if (listener.holders.empty())
        return Unknown(name, "somebody listens; not permitted to see who", why, "Run the doctor as root.");
      for (const Process& holder : listener.holders) {
        if (IsOurs(holder)) continue;
        return Problem(
            name,
            Text(holder) + " listens on " + (listener.wildcard ? "every address" : "127.0.0.1") + " (" + protocol + ")",
            why, "End that program, or have it listen elsewhere; then: " + std::string(kRestart));
      }
    }
  }
  return Ok(name, "our dnsmasq listens on 127.0.0.1 (udp, tcp)");
}

}  // namespace kor::ctl::doctor
