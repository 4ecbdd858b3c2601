// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/commands.h"
#include "kwwanctl/screens.h"
#include "kwwanctl/table.h"
#include "kwwanctl/verb.h"

namespace kor::ctl {
namespace {

std::string PassthroughText(const Json& passthrough, const Paint& paint) {
  Fields fields;
  fields.Add("Passthrough", Cell(Member(passthrough, "on") == true ? "on" : "off"));
  fields.Add("Client", Member(passthrough, "mode"));
  fields.Add("Target", Member(passthrough, "target"));
  return fields.Text(paint);
}

// Switches it: to the client that the arguments name, or to the first.
int SwitchOn(Context& context, const Json& params) {
  Json asked{{"on", true}, {"mode", "first-client"}, {"target", ""}};
  if (params.contains("mac")) asked.update({{"mode", "mac-address"}, {"target", params["mac"]}});
  if (params.contains("host_name")) asked.update({{"mode", "host-name"}, {"target", params["host_name"]}});
  context.out.Show(context.session().Call("passthrough.set", asked), PassthroughText);
  return kDone;
}

int SwitchOff(Context& context, const Json&) {
  Json asked = context.session().Call("passthrough.show", Json::object());
  asked["on"] = false;
  context.out.Show(context.session().Call("passthrough.set", asked), PassthroughText);
  return kDone;
}

}  // namespace

void AddPassthrough(CLI::App& app, Context& context) {
  const Arg mac{"--mac", "mac", Text("an address like 02:00:5e:10:00:01"), "The client with this MAC address", "MAC"};
  const Arg host{"--host-name", "host_name", Text("a DHCP host name"), "The client that calls itself so", "NAME"};
  Verb on{"on",
          "Gives one client of the LAN the WAN address itself: the first that asks unless one is named.",
          {mac, host},
          {{"passthrough on", ""}, {"passthrough on --mac 02:00:5e:10:00:01", ""}}};
  on.action = [](Context& its_context, const Json& params) -> int {
    if (params.size() > 1) throw CommandError(kErrorUsage, "--mac and --host-name exclude each other");
    return SwitchOn(its_context, params);
  };
  Verb off{"off", "Ends that."};
  off.action = SwitchOff;
  AddObject(app, context, "passthrough", "IP passthrough: one client of the LAN has the WAN address.",
            {{"show", "Whether it is on, and for whom.", {}, {}, "passthrough.show", PassthroughText}, on, off});
}

}  // namespace kor::ctl
