// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/commands.h"
#include "kwwanctl/screens.h"
#include "kwwanctl/table.h"
#include "kwwanctl/verb.h"

namespace kor::ctl {
namespace {

std::string ReconnectText(const Json& reconnects, const Paint& paint) {
  if (!reconnects.is_array() || reconnects.empty()) return "";
  Table table({"RECONNECT", "FAMILY", "ATTEMPT", "IN"});
  for (const Json& reconnect : reconnects) {
    table.Add({"policy " + ToText(Member(reconnect, "index")), Member(reconnect, "family"),
               Member(reconnect, "attempt"), ToText(Member(reconnect, "next_s")) + " s"});
  }
  return '\n' + table.Text(paint, "");
}

std::string StatusText(const Json& status, const Paint& paint) {
  const Json device = Member(status, "device");
  Fields fields;
  const Json version = Member(device, "package_version");
  fields.Add("Device", ToText(Member(device, "model")) + (version.is_null() ? "" : ", package " + ToText(version)));
  return PoliciesText(status, paint) + ReconnectText(Member(status, "reconnect"), paint) + '\n' +
         DnsText(Member(status, "dns"), paint) + '\n' + fields.Text(paint);
}

}  // namespace

void AddStatus(CLI::App& app, Context& context) {
  Verb verb;
  verb.name = "status";
  verb.help = "One screen: policies and their calls, reconnects that are running, the DNS service, the device.";
  verb.examples = {{"status", "the screen"}, {"status --watch 5", "every 5 seconds"}};
  verb.method = "host.status";
  verb.render = StatusText;
  verb.watch = true;
  AddVerb(app, context, verb);
}

}  // namespace kor::ctl
