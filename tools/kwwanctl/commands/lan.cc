// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <chrono>

#include "kwwanctl/commands.h"
#include "kwwanctl/ending.h"
#include "kwwanctl/screens.h"
#include "kwwanctl/table.h"
#include "kwwanctl/verb.h"

namespace kor::ctl {
namespace {

constexpr int64_t kDay = 86'400;  // In seconds.

const Arg kNetmask{"--netmask", "netmask", Address(), "Its netmask", "MASK"};
const Arg kStart{"--start", "start", Address(), "First address of the DHCP pool", "ADDRESS"};
const Arg kEnd{"--end", "end", Address(), "Last address of the DHCP pool", "ADDRESS"};
const Arg kLease{"--lease", "lease_s", Number(1, INT32_MAX), "Lease time in seconds", "SECONDS"};
const Arg kMovePool{"--move-pool", "move_pool", Flag(), "Moves the DHCP pool along to the gateway's new subnet"};
const Arg kConfirm{"--confirm", "confirm_s", Number(1, kDay),
                   "Goes back to what was before unless it is confirmed in time", "SECONDS"};

std::string LanText(const Json& lan, const Paint& paint) {
  Fields fields;
  fields.Add("Gateway", Member(lan, "gateway"));
  fields.Add("Netmask", Member(lan, "netmask"));
  fields.Add("DHCP server", Cell(Member(lan, "dhcp") == true ? "on" : "off"));
  fields.Add("Pool", ToText(Member(lan, "start")) + " to " + ToText(Member(lan, "end")));
  fields.Add("Lease time", ToText(Member(lan, "lease_s")) + " s");
  const Json open = Member(lan, "confirm_in_s");
  if (!open.is_null()) fields.Add("To confirm", Cell("within " + ToText(open) + " s", Colour::kWarning));
  return fields.Text(paint);
}

// Whether Enter was pressed within the time.
bool Pressed(std::chrono::seconds limit) {
  Ending ending;
  char c = 0;
  return ending.Wait(STDIN_FILENO, limit) == Ending::Woken::kInput && read(STDIN_FILENO, &c, 1) == 1;
}

// The change is in force and waits for its confirmation: asks for it where there is somebody to ask.
int Confirm(Context& context, int64_t seconds) {
  const std::string within = " within " + std::to_string(seconds) + " seconds";
  if (context.out.json() || !isatty(STDIN_FILENO) || !isatty(STDOUT_FILENO)) {
    context.out.Remark("Unless you run \"kwwanctl lan confirm\"" + within + ", the old settings come back.\n");
    return kDone;
  }
  context.out.Say("Press Enter" + within + " to keep this; else the old settings come back.\n");
  if (!Pressed(std::chrono::seconds(seconds))) {
    throw CommandError(kErrorFailure, "not confirmed: the old settings come back");
  }
  (void)context.session().Call("lan.confirm", Json::object());
  context.out.Say("Confirmed.\n");
  return kDone;
}

int Change(Context& context, const Json& params) {
  if (params.empty() || (params.size() == 1 && params.contains("confirm_s"))) {
    throw UsageError("lan set", "at least one setting", "");
  }
  context.out.Show(context.session().Call("lan.set", params), LanText);
  return params.contains("confirm_s") ? Confirm(context, params["confirm_s"].get<int64_t>()) : kDone;
}

Verb ChangeVerb(const std::string& name, const std::string& help, const std::vector<Arg>& args,
                const std::vector<Example>& examples) {
  Verb verb{name, help, args, examples};
  verb.action = Change;
  return verb;
}

}  // namespace

void AddLan(CLI::App& app, Context& context) {
  const Arg gateway{"--gateway", "gateway", Address(), "The device's own address", "ADDRESS"};
  const Arg new_gateway{"ADDRESS", "gateway", Address(), "The device's own address", "", true};
  const Arg dhcp{"--dhcp", "dhcp", OnOff(), "Whether the DHCP server runs", "on|off"};
  const Arg new_dhcp{"on|off", "dhcp", OnOff(), "", "", true};
  AddObject(
      app, context, "lan", "The LAN: the device's own address on it, its DHCP server.",
      {{"show", "The LAN's settings.", {}, {}, "lan.show", LanText},
       ChangeVerb("set", "Changes settings together; what is not named stays.",
                  {gateway, kNetmask, dhcp, kStart, kEnd, kLease, kMovePool, kConfirm},
                  {{"lan set --start 192.168.225.100 --end 192.168.225.199", ""}}),
       ChangeVerb("gateway", "Moves the device's own address.", {new_gateway, kMovePool, kConfirm},
                  {{"lan gateway 192.168.9.1 --move-pool --confirm 60",
                    "with the DHCP pool; back again in a minute unless confirmed"}}),
       ChangeVerb("dhcp", "Switches the DHCP server, and sets its pool.", {new_dhcp, kStart, kEnd, kLease, kConfirm},
                  {{"lan dhcp off", ""}, {"lan dhcp on --lease 3600", ""}}),
       {"confirm", "Keeps a change that waits for its confirmation.", {}, {}, "lan.confirm", LanText},
       {"rollback", "Undoes a change that waits for its confirmation, at once.", {}, {}, "lan.rollback", LanText}});
}

}  // namespace kor::ctl
