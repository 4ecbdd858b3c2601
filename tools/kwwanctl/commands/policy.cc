// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/commands.h"
#include "kwwanctl/screens.h"
#include "kwwanctl/table.h"
#include "kwwanctl/verb.h"

namespace kor::ctl {
namespace {

const Arg kIndex{"INDEX", "index", Number(0, 254), "The policy", "", true};
const Arg kSwitch{"on|off", "on", OnOff(), "", "", true};

Takes Families() {
  return Words(
      {{"4", "ipv4"}, {"6", "ipv6"}, {"46", "ipv4v6"}, {"ipv4", "ipv4"}, {"ipv6", "ipv6"}, {"ipv4v6", "ipv4v6"}});
}

const Arg kFamily{"--family", "family", Families(), "Its families", "FAMILY"};
const Arg kTechnology{"--technology", "technology", Text("any, or some of umts, lte and nr5g joined with +"),
                      "Its radio technologies", "TECHNOLOGY"};
const Arg kProfile{"--profile", "profile", Number(1, 24), "Profile of its IPv4 call, and of the IPv6 one too", "CID"};
const Arg kProfile6{"--profile6", "profile6", Number(1, 24), "Profile of its IPv6 call", "CID"};

std::string ListText(const Json& result, const Paint& paint) {
  Table table({"INDEX", "HANDLE", "TECHNOLOGY", "FAMILIES", "IPV4 PROFILE", "IPV6 PROFILE", "AUTO", "ROAMING"});
  const auto word = [](const Json& on) { return on == true ? "on" : "off"; };
  for (const Json& policy : Member(result, "policies")) {
    const Json profiles = Member(policy, "profiles");
    table.Add({Member(policy, "index"), Member(policy, "handle"), Member(policy, "technology"),
               Member(policy, "family"), Member(profiles, "ipv4"), Member(profiles, "ipv6"),
               Json(word(Member(policy, "auto_connect"))), Json(word(Member(policy, "roaming")))});
  }
  return table.Text(paint, "There is no policy.");
}

std::string DeletedText(const Json& policy, const Paint&) {
  return "Policy " + ToText(Member(policy, "index")) + " is deleted.\n";
}

}  // namespace

void AddPolicy(CLI::App& app, Context& context) {
  const Arg required_profile{kProfile.name, kProfile.key, kProfile.takes, kProfile.help, kProfile.value, true};
  const Arg which_family{"4|6|46", "family", Families(), "The family, or both", "", true};
  AddObject(app, context, "policy", "Policies: which profiles, families and radio technologies a call uses.",
            {{"list", "Every policy.", {}, {}, "policy.list", ListText},
             {"set",
              "Changes a policy. What is not named stays, but --profile alone is for both families.",
              {kIndex, kFamily, kTechnology, kProfile, kProfile6},
              {{"policy set 0 --profile 3", "both families with profile 3"},
               {"policy set 1 --family 46 --profile 1 --profile6 2", "a profile for each family"}},
              "policy.set",
              PolicyLine},
             {"create",
              "Creates a policy.",
              {required_profile, kProfile6, kFamily, kTechnology},
              {{"policy create --profile 3", "any technology, both families"}},
              "policy.create",
              PolicyLine},
             {"delete", "Deletes a policy.", {kIndex}, {{"policy delete 1", ""}}, "policy.delete", DeletedText},
             {"autoconnect",
              "Whether its calls come up by themselves, and again when they are lost.",
              {kIndex, kSwitch},
              {{"policy autoconnect 0 on", ""}},
              "policy.autoconnect",
              PolicyLine},
             {"roaming",
              "Whether its calls may be up in a visited network.",
              {kIndex, kSwitch},
              {{"policy roaming 0 off", ""}},
              "policy.roaming",
              PolicyLine},
             {"family",
              "Switches the IPv4 or IPv6 side of a policy.",
              {kIndex, which_family, kSwitch},
              {{"policy family 0 6 off", "no IPv6"}, {"policy family 0 46 on", "both"}},
              "policy.family",
              PolicyText}});
}

}  // namespace kor::ctl
