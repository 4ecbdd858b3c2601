// SPDX-License-Identifier: Apache-2.0
// policy, profile
#include "kwwanctl/commands/commands.h"
#include "kwwanctl/secret.h"
#include "kwwanctl/table.h"

namespace kor::ctl {

namespace {

// One policy on one line, for verbs that changed it: "Policy 0: families ipv4v6, ..."
std::string PolicyLine(const Json& policy, const Paint&) {
  const Json profiles = Member(policy, "profiles");
  return "Policy " + ToText(Member(policy, "index")) + ": technology " + ToText(Member(policy, "technology")) +
         ", families " + ToText(Member(policy, "family")) + ", profiles " + ToText(Member(profiles, "ipv4")) + " and " +
         ToText(Member(profiles, "ipv6")) + ", auto-connect " + ToText(OnOffWord(Member(policy, "auto_connect"))) +
         ", roaming " + ToText(OnOffWord(Member(policy, "roaming"))) + '\n';
}

const Arg kIndex{"INDEX", "index", Number(0, 254), "The policy", "", true};
const Arg kSwitch{"on|off", "on", OnOff(), "", "", true};

ArgType Families() {
  return Words(
      {{"4", "ipv4"}, {"6", "ipv6"}, {"46", "ipv4v6"}, {"ipv4", "ipv4"}, {"ipv6", "ipv6"}, {"ipv4v6", "ipv4v6"}});
}

const Arg kFamily{"--family", "family", Families(), "Its families", "FAMILY"};
const Arg kTechnology{"--technology", "technology", Text("any, or some of umts, lte and nr5g joined with +"),
                      "Its radio technologies", "TECHNOLOGY"};
const Arg kProfile{"--profile", "profile", Number(1, 24), "Profile of its IPv4 call, and of the IPv6 one too", "CID"};
const Arg kProfile6{"--profile6", "profile6", Number(1, 24), "Profile of its IPv6 call", "CID"};

std::string PolicyListText(const Json& result, const Paint& paint) {
  Table table({"INDEX", "HANDLE", "TECHNOLOGY", "FAMILIES", "IPV4 PROFILE", "IPV6 PROFILE", "AUTO", "ROAMING"});
  for (const Json& policy : Member(result, "policies")) {
    const Json profiles = Member(policy, "profiles");
    table.Add({Member(policy, "index"), Member(policy, "handle"), Member(policy, "technology"),
               Member(policy, "family"), Member(profiles, "ipv4"), Member(profiles, "ipv6"),
               OnOffWord(Member(policy, "auto_connect")), OnOffWord(Member(policy, "roaming"))});
  }
  return table.Text(paint, "No policies.");
}

std::string DeletedText(const Json& policy, const Paint&) {
  return "Policy " + ToText(Member(policy, "index")) + " is deleted.\n";
}

const Arg kProfileCid{"CID", "index", Number(1, 24), "The profile", "", true};
const Arg kProfileType{"--type", "type", OneOf({"3gpp", "3gpp2", "epc"}), "Its type (default 3gpp)", "TYPE"};

const std::vector<Arg> kSettings{
    kProfileCid,
    kProfileType,
    {"--name", "name", Text("a text"), "Its name, for people", "NAME"},
    {"--apn", "apn", Text("an access point name"), "Its access point", "APN"},
    {"--user", "user_name", Text("a text"), "User name", "NAME"},
    {"--password", "password", Flag(), "Asks for the password; never an argument"},
    {"--pdp", "pdp_type", OneOf({"ipv4", "ipv6", "ipv4v6", "ppp"}), "Its PDP type", "TYPE"},
    {"--auth", "authentication", OneOf({"none", "pap", "chap", "pap-or-chap"}), "Authentication", "METHOD"},
};

Json WithType(Json params) {
  if (!params.contains("type")) params["type"] = "3gpp";
  return params;
}

std::string ProfileListText(const Json& result, const Paint& paint) {
  Table table({"CID", "TYPE", "NAME"});
  for (const Json& profile : Member(result, "profiles")) {
    table.Add({Member(profile, "index"), Member(profile, "type"), Member(profile, "name")});
  }
  return table.Text(paint, "No profiles.");
}

Action AskAboutProfile(const std::string& method, const Render& render) {
  return [method, render](Context& context, const Json& params) -> int {
    Json asked = WithType(params);
    if (asked.contains("password")) asked["password"] = ReadSecret("Password: ");
    return context.Ask(method, asked, render);
  };
}

Verb ProfileVerb(const std::string& name, const std::string& help, const std::vector<Arg>& args,
                 const std::vector<Example>& examples, const Render& render) {
  Verb verb{name, help, args, examples};
  verb.action = AskAboutProfile("profile." + name, render);
  return verb;
}

}  // namespace

Object PolicyCommands() {
  const Arg required_profile{kProfile.name, kProfile.key, kProfile.type, kProfile.help, kProfile.value, true};
  const Arg which_family{"4|6|46", "family", Families(), "The family, or both", "", true};
  return {"policy",
          "Policies: which profiles, families and radio technologies a call uses.",
          {{"list", "Every policy.", {}, {}, "policy.list", PolicyListText},
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
            "Whether its calls are connected automatically, and again when they are lost.",
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
            PolicyText}}};
}

Object ProfileCommands() {
  const auto done = [](const Json&, const Paint&) { return std::string("Done.\n"); };
  return {"profile",
          "Data profiles of the modem: access point, user, PDP type.",
          {{"list", "Every profile.", {}, {}, "profile.list", ProfileListText},
           ProfileVerb("show", "One profile.", {kProfileCid, kProfileType}, {{"profile show 1", ""}}, RecordText),
           ProfileVerb("create", "Creates a profile.", {kProfileCid, kProfileType}, {{"profile create 3", ""}}, done),
           ProfileVerb("modify", "Gives a profile these settings. What is not named becomes empty.", kSettings,
                       {{"profile modify 1 --apn private --user me --password", "asks for the password"}}, done)}};
}

}  // namespace kor::ctl
