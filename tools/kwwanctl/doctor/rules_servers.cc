// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "kwwanctl/doctor/rules.h"

namespace kor::ctl::doctor {

namespace {

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

}  // namespace

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

}  // namespace kor::ctl::doctor
