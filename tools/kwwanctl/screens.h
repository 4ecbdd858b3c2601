// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "kwwanctl/command_error.h"
#include "kwwanctl/paint.h"

namespace kor::ctl {

// Screens that several objects share: results of the host as text. All pure.

// {"policies":[..]}: a line for each family of each policy.
std::string PoliciesText(const Json& result, const Paint& paint);

// One policy, with both calls.
std::string PolicyText(const Json& policy, const Paint& paint);

// One policy on one line, for verbs that changed it: "Policy 0: families ipv4v6, ..."
std::string PolicyLine(const Json& policy, const Paint& paint);

// The DNS service.
std::string DnsText(const Json& dns, const Paint& paint);

// How a call went: the states, the halves of the outcome, the time of each step, what was ignored and why. (The
// explanation's "summary" is for the caller to show.)
std::string ExplainText(const Json& explain, const Paint& paint);

// Nothing at all: for answers that say no more than that it is done.
std::string Quiet(const Json& result, const Paint& paint);

// "1.5 s"
std::string Seconds(int64_t milliseconds);

// The member of an object, null when it is absent or the object is none.
Json Member(const Json& object, const std::string& name);

}  // namespace kor::ctl
