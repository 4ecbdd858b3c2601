// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <set>
#include <string>

#include "kwwanctl/doctor/facts.h"
#include "kwwanctl/doctor/judge.h"

// The doctor's rules: one function for each finding, and the words that they share. All pure.
namespace kor::ctl::doctor {

Finding JudgeHost(const Facts& facts);
Finding JudgeNamespaces(const Facts& facts);
Finding JudgeService(const Facts& facts);
Finding JudgeCalls(const Facts& facts);
Finding JudgeResolvConf(const Facts& facts);
Finding JudgeWatch(const Facts& facts);
Finding JudgeManagers(const Facts& facts);
Finding JudgePidFile(const Facts& facts);
Finding JudgePort(const Facts& facts);
Finding JudgePermanent(const Facts& facts);
Finding JudgeServerList(const Facts& facts);
Finding JudgeServers(const Facts& facts);
Finding JudgeQuery(const Facts& facts);

constexpr char kRestart[] = "kwwanctl dns stop; kwwanctl dns start";

inline Finding Ok(const char* name, const std::string& seen) { return {name, Verdict::kOk, seen, "", ""}; }

inline Finding Problem(const char* name, const std::string& seen, const std::string& why, const std::string& action) {
  return {name, Verdict::kProblem, seen, why, action};
}

inline Finding Unknown(const char* name, const std::string& seen, const std::string& why = "",
                       const std::string& action = "") {
  return {name, Verdict::kUnknown, seen, why, action};
}

Finding Unreadable(const char* name, const TextFile& file);

// "dnsmasq (17)"
std::string Text(const Process& process);

// "10.255.0.53, fd64:ffff::53", or "none".
std::string Join(const std::set<std::string>& texts);

// "it names 10.255.0.53", of a file with name servers.
std::string NameServers(const std::string& text);

}  // namespace kor::ctl::doctor
