// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/commands.h"
#include "kwwanctl/screens.h"
#include "kwwanctl/secret.h"
#include "kwwanctl/table.h"
#include "kwwanctl/verb.h"

namespace kor::ctl {
namespace {

const Arg kCid{"CID", "index", Number(1, 24), "The profile", "", true};
const Arg kType{"--type", "type", OneOf({"3gpp", "3gpp2", "epc"}), "Its kind; 3gpp unless said otherwise", "TYPE"};

const std::vector<Arg> kSettings{
    kCid,
    kType,
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

std::string ListText(const Json& result, const Paint& paint) {
  Table table({"CID", "TYPE", "NAME"});
  for (const Json& profile : Member(result, "profiles")) {
    table.Add({Member(profile, "index"), Member(profile, "type"), Member(profile, "name")});
  }
  return table.Text(paint, "There is no profile.");
}

Action Ask(const std::string& method, const Render& render) {
  return [method, render](Context& context, const Json& params) -> int {
    Json asked = WithType(params);
    if (asked.contains("password")) asked["password"] = ReadSecret("Password: ");
    context.out.Show(context.session().Call(method, asked), render);
    return kDone;
  };
}

Verb ProfileVerb(const std::string& name, const std::string& help, const std::vector<Arg>& args,
                 const std::vector<Example>& examples, const Render& render) {
  Verb verb{name, help, args, examples};
  verb.action = Ask("profile." + name, render);
  return verb;
}

}  // namespace

void AddProfile(CLI::App& app, Context& context) {
  const auto done = [](const Json&, const Paint&) { return std::string("Done.\n"); };
  AddObject(app, context, "profile", "Data profiles of the modem: access point, user, PDP type.",
            {{"list", "Every profile.", {}, {}, "profile.list", ListText},
             ProfileVerb("show", "One profile.", {kCid, kType}, {{"profile show 1", ""}}, RecordText),
             ProfileVerb("create", "Creates a profile.", {kCid, kType}, {{"profile create 3", ""}}, done),
             ProfileVerb("modify", "Gives a profile these settings. What is not named becomes empty.", kSettings,
                         {{"profile modify 1 --apn private --user me --password", "asks for the password"}}, done)});
}

}  // namespace kor::ctl
