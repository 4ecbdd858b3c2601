// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/doctor/judge.h"

#include <cstring>

#include "kwwanctl/doctor/rules.h"

namespace kor::ctl::doctor {

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

std::set<std::string> ServersOf(const std::string& list) {
  const std::vector<std::string> servers = kor::tools::ServersIn(list);
  return {servers.begin(), servers.end()};
}

std::vector<Finding> Judge(const Facts& facts) {
  return {JudgeHost(facts),       JudgeNamespaces(facts), JudgeService(facts),    JudgeCalls(facts),
          JudgeResolvConf(facts), JudgeWatch(facts),      JudgeManagers(facts),   JudgePidFile(facts),
          JudgePort(facts),       JudgePermanent(facts),  JudgeServerList(facts), JudgeServers(facts),
          JudgeQuery(facts)};
}

Finding Unreadable(const char* name, const TextFile& file) {
  return Unknown(name, std::string("cannot be read: ") + strerror(file.error), "", "Run the doctor as root.");
}

std::string Text(const Process& process) { return process.name + " (" + std::to_string(process.pid) + ")"; }

std::string Join(const std::set<std::string>& texts) {
  std::string joined;
  for (const std::string& text : texts) joined += (joined.empty() ? "" : ", ") + text;
  return joined.empty() ? "none" : joined;
}

std::string NameServers(const std::string& text) {
  const std::set<std::string> servers = ServersOf(text);
  return servers.empty() ? "it names no server" : "it names " + Join(servers);
}

}  // namespace kor::ctl::doctor
