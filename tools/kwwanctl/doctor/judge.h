// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <set>
#include <string>
#include <vector>

#include "kwwanctl/doctor/facts.h"

namespace kor::ctl::doctor {

enum class Verdict { kOk, kProblem, kUnknown };

const char* Name(Verdict verdict);  // "ok", "problem", "unknown"

// One finding: what was looked at, and for everything that is not well why it matters and what helps.
struct Finding {
  std::string name;  // "pid-file"; stable, for programs.
  Verdict verdict = Verdict::kOk;
  std::string seen;
  std::string why;
  std::string action;
};

// Every finding, in the order in which a name is looked up: the host first, the answer last. A fault early in the list
// explains those that follow.
std::vector<Finding> Judge(const Facts& facts);

// The addresses of a list's "nameserver ADDRESS" lines.
std::set<std::string> ServersOf(const std::string& list);

}  // namespace kor::ctl::doctor
