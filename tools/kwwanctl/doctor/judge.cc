// SPDX-License-Identifier: Apache-2.0
// The doctor's rules: one function for each finding. All pure.
#include "kwwanctl/doctor/judge.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace kor::ctl::doctor {

std::set<std::string> ServersOf(const std::string& list) {
  const std::vector<std::string> servers = kor::tools::ServersIn(list);
  return {servers.begin(), servers.end()};
}

namespace {

constexpr char kRestart[] = "kwwanctl dns stop; kwwanctl dns start";

Finding Ok(const char* name, const std::string& seen) { return {name, Verdict::kOk, seen, "", ""}; }

Finding Problem(const char* name, const std::string& seen, const std::string& why, const std::string& action) {
  return {name, Verdict::kProblem, seen, why, action};
}

Finding Unknown(const char* name, const std::string& seen, const std::string& why = "",
                const std::string& action = "") {
  return {name, Verdict::kUnknown, seen, why, action};
}

Finding Unreadable(const char* name, const TextFile& file) {
  return Unknown(name, std::string("cannot be read: ") + strerror(file.error), "", "Run the doctor as root.");
}

// "dnsmasq (17)"
std::string Text(const Process& process) { return process.name + " (" + std::to_string(process.pid) + ")"; }

// "10.255.0.53, fd64:ffff::53", or "none".
std::string Join(const std::set<std::string>& texts) {
  std::string joined;
  for (const std::string& text : texts) joined += (joined.empty() ? "" : ", ") + text;
  return joined.empty() ? "none" : joined;
}

// "it names 10.255.0.53", of a file with name servers.
std::string NameServers(const std::string& text) {
  const std::set<std::string> servers = ServersOf(text);
  return servers.empty() ? "it names no server" : "it names " + Join(servers);
}

// The host.

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

// /etc/resolv.conf, and who else writes it.

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

// dnsmasq, its pid file and its port.

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

// The servers, and the answers.

constexpr char kNoAddress[] = "0.0.0.0";
constexpr int kNoError = 0, kServerFailure = 2, kNoSuchName = 3, kRefused = 5;  // RCODEs.

// The text that is used instead of the calls' servers; empty when there is none.
std::string PermanentText(const Facts& facts) {
  return kor::tools::UsedPermanentText(facts.permanent_file.text.value_or(""));
}

bool Answered(const Reply& reply) { return reply.code == kNoError || reply.code == kNoSuchName; }

Finding JudgeAgainst(const std::set<std::string>& wanted, const Facts& facts) {
  const char* name = "server-list";
  const std::set<std::string> has = ServersOf(*facts.server_list.text);
  if (has == wanted) return Ok(name, "has the calls' servers: " + Join(has));
  return Problem(name, "has " + Join(has) + "; the calls have " + Join(wanted),
                 "dnsmasq asks the servers of the list. One that no call has does not answer; one that is missing is "
                 "not asked. It is written when a data interface changes.",
                 std::string(kRestart) + "; when it stays so: df /var/run, and 'Cannot open' in the system log");
}

std::string Text(const Reply& reply) {
  if (!reply.code) return reply.error == ETIMEDOUT ? "no answer in 2 s" : strerror(reply.error);
  const std::string took = " in " + std::to_string(reply.took_ms) + " ms";
  switch (*reply.code) {
    case kNoError:
      return "answered" + took;
    case kNoSuchName:
      return "no such name, which is an answer too," + took;
    case kServerFailure:
      return "SERVFAIL" + took;
    case kRefused:
      return "REFUSED" + took;
    default:
      return "answer code " + std::to_string(*reply.code) + took;
  }
}

Finding JudgePermanent(const Facts& facts) {
  const char* name = "permanent-file";
  const TextFile& file = facts.permanent_file;
  if (!file.text && file.error != ENOENT) return Unreadable(name, file);
  const std::string text = PermanentText(facts);
  if (text.empty()) return Ok(name, file.text ? "there is one, too short to count" : "there is none");
  if (Answered(facts.local)) return Ok(name, "is used instead of the calls' servers; " + NameServers(text));
  return Problem(name, "is used instead of the calls' servers; " + NameServers(text),
                 "As long as it holds a text, no call is asked for its servers, and its own do not answer.",
                 std::string("Correct it, or remove it: rm ") + kPermanentDnsPath);
}

Finding JudgeServerList(const Facts& facts) {
  const char* name = "server-list";
  const TextFile& file = facts.server_list;
  if (!file.text && file.error == ENOENT) {
    return Problem(name, std::string(kDnsmasqResolvPath) + " is missing", "dnsmasq knows no server.",
                   std::string(kRestart) + "; when it stays so: 'Cannot open' in the system log");
  }
  if (!file.text) return Unreadable(name, file);
  const std::string permanent = PermanentText(facts);
  if (!permanent.empty()) {
    if (*file.text == permanent) return Ok(name, "is the permanent file's text");
    return Problem(
        name, "is not the permanent file's text",
        "dnsmasq asks others than it was told: the file's change was not noticed, as that of a link's target, "
        "or one among thousands at once.",
        kRestart);
  }
  if (!facts.host.answered())
    return Unknown(name, "has " + Join(ServersOf(*file.text)) + "; nobody tells which calls are up");
  std::set<std::string> wanted = facts.host.servers;
  wanted.erase(kNoAddress);
  return JudgeAgainst(wanted, facts);
}

// Servers of the list that give no answer, or none to this name. One that works is enough.
Finding JudgeServers(const Facts& facts) {
  const char* name = "servers";
  std::set<std::string> texts;
  for (const Reply& reply : facts.servers) texts.insert(reply.server + ": " + Text(reply));
  const std::string seen = Join(texts);
  if (texts.empty()) return Ok(name, "the list has none to ask");
  if (std::any_of(facts.servers.begin(), facts.servers.end(), Answered)) return Ok(name, seen);
  const auto refuses = [](const Reply& reply) { return reply.code == kRefused; };
  if (std::any_of(facts.servers.begin(), facts.servers.end(), refuses)) {
    return Problem(name, seen, "The way to the server is good, but it does not serve this name.",
                   "Try a name of the network's own with --name. When all are refused: the server wants another client "
                   "address; is the route over the right call?");
  }
  return Problem(name, seen, "dnsmasq gets no answer either.",
                 "ip route: is there a way to the server, and over the call whose server it is?");
}

Finding JudgeQuery(const Facts& facts) {
  const char* name = "query";
  const std::string seen = facts.name + " from 127.0.0.1: " + Text(facts.local);
  if (Answered(facts.local)) return Ok(name, seen);
  const std::string why = "This is what every program here meets.";
  const bool somebody_listens = facts.local.error != ECONNREFUSED;
  if (somebody_listens && std::any_of(facts.servers.begin(), facts.servers.end(), Answered)) {
    return Problem(name, seen, why + " The server itself answers, so dnsmasq uses another list than the file's.",
                   std::string("touch ") + kDnsmasqResolvPath + "; when that does not help: " + kRestart);
  }
  if (facts.local.code == kRefused && facts.servers.empty())
    return Problem(name, seen, why + " dnsmasq has no server to ask.", "See calls and server-list.");
  return Problem(name, seen, why, "See the problems above, the first one first.");
}

}  // namespace

const char* Name(Verdict verdict) {
  switch (verdict) {
    case Verdict::kOk:
      return "ok";
    case Verdict::kProblem:
      return "problem";
    case Verdict::kUnknown:
      break;
  }
  return "unknown";
}

std::vector<Finding> Judge(const Facts& facts) {
  return {JudgeHost(facts),       JudgeNamespaces(facts), JudgeService(facts),    JudgeCalls(facts),
          JudgeResolvConf(facts), JudgeWatch(facts),      JudgeManagers(facts),   JudgePidFile(facts),
          JudgePort(facts),       JudgePermanent(facts),  JudgeServerList(facts), JudgeServers(facts),
          JudgeQuery(facts)};
}

}  // namespace kor::ctl::doctor
