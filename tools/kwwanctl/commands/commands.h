// SPDX-License-Identifier: Apache-2.0
// Every object of the command line, each with its verbs, and what several of them show.
#pragma once

#include <string>

#include "kwwanctl/table.h"
#include "kwwanctl/verb.h"

namespace kor::ctl {

Object StatusCommand();
Object CallCommands();
Object PolicyCommands();
Object ProfileCommands();
Object DnsCommands();
Object AtCommands();
Object LanCommands();
Object VlanCommands();
Object PassthroughCommands();
Object RadioCommands();
Object SimCommands();
Object PinCommands();
Object SmsCommands();
Object MonitorCommand();
Object ModemCommand();
Object DeviceCommands();
Object DoctorCommand();
Object VersionCommand();

// "on" or "off", null for what is neither.
Json OnOffWord(const Json& value);

// {"policies":[..]}: a line for each family of each policy.
std::string PoliciesText(const Json& result, const Paint& paint);

// One policy, with both calls.
std::string PolicyText(const Json& policy, const Paint& paint);

}  // namespace kor::ctl
