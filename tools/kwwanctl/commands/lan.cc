// SPDX-License-Identifier: Apache-2.0
// lan, vlan, passthrough
#include <unistd.h>

#include <chrono>

#include "kwwanctl/commands/commands.h"
#include "kwwanctl/interrupt_watcher.h"
#include "kwwanctl/table.h"

namespace kor::ctl {

namespace {

constexpr int64_t kDay = 86'400;  // In seconds.

const Arg kNetmask{"--netmask", "netmask", Address(), "Its netmask", "MASK"};
const Arg kStart{"--start", "start", Address(), "First address of the DHCP pool", "ADDRESS"};
const Arg kEnd{"--end", "end", Address(), "Last address of the DHCP pool", "ADDRESS"};
const Arg kLease{"--lease", "lease_s", Number(1, INT32_MAX), "Lease time in seconds", "SECONDS"};
const Arg kMovePool{"--move-pool", "move_pool", Flag(), "Moves the DHCP pool along to the gateway's new subnet"};
const Arg kConfirm{"--confirm", "confirm_s", Number(1, kDay), "Rolls the change back unless it is confirmed in time",
                   "SECONDS"};

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
  InterruptWatcher watcher;
  char c = 0;
  return watcher.Wait(STDIN_FILENO, limit) == InterruptWatcher::Woken::kInput && read(STDIN_FILENO, &c, 1) == 1;
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

int ChangeLan(Context& context, const Json& params) {
  if (params.empty() || (params.size() == 1 && params.contains("confirm_s"))) {
    throw UsageError("lan set", "at least one setting", "");
  }
  context.out.Show(context.session().Call("lan.set", params), LanText);
  return params.contains("confirm_s") ? Confirm(context, params["confirm_s"].get<int64_t>()) : kDone;
}

Verb LanVerb(const std::string& name, const std::string& help, const std::vector<Arg>& args,
             const std::vector<Example>& examples) {
  Verb verb{name, help, args, examples};
  verb.action = ChangeLan;
  return verb;
}

std::string VlansText(const Json& result, const Paint& paint) {
  Table table({"ID", "INTERFACE", "PDN"});
  for (const Json& vlan : Member(result, "vlans")) {
    table.Add({Member(vlan, "id"), Member(vlan, "interface"), Member(vlan, "pdn")});
  }
  return table.Text(paint, "No VLANs.");
}

std::string PassthroughText(const Json& passthrough, const Paint& paint) {
  Fields fields;
  fields.Add("Passthrough", Cell(Member(passthrough, "on") == true ? "on" : "off"));
  fields.Add("Client", Member(passthrough, "mode"));
  fields.Add("Target", Member(passthrough, "target"));
  return fields.Text(paint);
}

// Switches it: to the client that the arguments name, or to the first.
int PassthroughOn(Context& context, const Json& params) {
  Json asked{{"on", true}, {"mode", "first-client"}, {"target", ""}};
  if (params.contains("mac")) asked.update({{"mode", "mac-address"}, {"target", params["mac"]}});
  if (params.contains("host_name")) asked.update({{"mode", "host-name"}, {"target", params["host_name"]}});
  return context.Ask("passthrough.set", asked, PassthroughText);
}

int PassthroughOff(Context& context, const Json&) {
  Json asked = context.session().Call("passthrough.show", Json::object());
  asked["on"] = false;
  return context.Ask("passthrough.set", asked, PassthroughText);
}

}  // namespace

Object LanCommands() {
  const Arg gateway{"--gateway", "gateway", Address(), "The device's own address", "ADDRESS"};
  const Arg new_gateway{"ADDRESS", "gateway", Address(), "The device's own address", "", true};
  const Arg dhcp{"--dhcp", "dhcp", OnOff(), "Whether the DHCP server runs", "on|off"};
  const Arg new_dhcp{"on|off", "dhcp", OnOff(), "", "", true};
  return {"lan",
          "The LAN: the device's own address on it, its DHCP server.",
          {{"show", "The LAN's settings.", {}, {}, "lan.show", LanText},
           LanVerb("set", "Changes settings together; what is not named stays.",
                   {gateway, kNetmask, dhcp, kStart, kEnd, kLease, kMovePool, kConfirm},
                   {{"lan set --start 192.168.225.100 --end 192.168.225.199", ""}}),
           LanVerb("gateway", "Moves the device's own address.", {new_gateway, kMovePool, kConfirm},
                   {{"lan gateway 192.168.9.1 --move-pool --confirm 60",
                     "with the DHCP pool; back again in a minute unless confirmed"}}),
           LanVerb("dhcp", "Switches the DHCP server, and sets its pool.", {new_dhcp, kStart, kEnd, kLease, kConfirm},
                   {{"lan dhcp off", ""}, {"lan dhcp on --lease 3600", ""}}),
           {"confirm", "Keeps a change that awaits confirmation.", {}, {}, "lan.confirm", LanText},
           {"rollback", "Rolls a change that awaits confirmation back at once.", {}, {}, "lan.rollback", LanText}}};
}

Object VlanCommands() {
  const Arg id{"ID", "id", Number(1, 4094), "The VLAN", "", true};
  const Arg pdn{"PDN", "pdn", Number(1, 255), "The PDN: a policy's index, not the default one's (0)", "", true};
  const Arg mapped{"PDN", "pdn", Number(0, 255), "The PDN, as the list shows it", "", true};
  const Arg interface {
    "--interface", "interface", OneOf({"ethernet", "usb", "wlan"}), "Its LAN interface (default ethernet)", "INTERFACE"
  };
  Verb add{"add", "Adds a VLAN.", {id, interface}, {{"vlan add 100", ""}, {"vlan add 200 --interface usb", ""}},
           "",    nullptr};
  add.action = [](Context& its_context, const Json& params) -> int {
    Json with_interface = params;
    if (!params.contains("interface")) with_interface["interface"] = "ethernet";
    return its_context.Ask("vlan.add", with_interface, VlansText);
  };
  return {"vlan",
          "VLANs of the LAN and the PDNs they are mapped to.",
          {{"list", "Every VLAN and its PDN.", {}, {}, "vlan.list", VlansText},
           add,
           {"remove", "Removes a VLAN.", {id}, {{"vlan remove 100", ""}}, "vlan.remove", VlansText},
           {"map", "Maps a VLAN to a PDN.", {id, pdn}, {{"vlan map 100 1", ""}}, "vlan.map", VlansText},
           {"unmap", "Ends that.", {id, mapped}, {{"vlan unmap 100 1", ""}}, "vlan.unmap", VlansText}}};
}

Object PassthroughCommands() {
  const Arg mac{"--mac", "mac", Text("an address like 02:00:5e:10:00:01"), "The client with this MAC address", "MAC"};
  const Arg host{"--host-name", "host_name", Text("a DHCP host name"), "The client with this DHCP host name", "NAME"};
  Verb on{"on",
          "Gives one client of the LAN the WAN address itself: the first that asks unless one is named.",
          {mac, host},
          {{"passthrough on", ""}, {"passthrough on --mac 02:00:5e:10:00:01", ""}}};
  on.action = [](Context& its_context, const Json& params) -> int {
    if (params.size() > 1) throw CommandError(kErrorUsage, "--mac and --host-name exclude each other");
    return PassthroughOn(its_context, params);
  };
  Verb off{"off", "Ends that."};
  off.action = PassthroughOff;
  return {"passthrough",
          "IP passthrough: one client of the LAN has the WAN address.",
          {{"show", "Whether it is on, and for whom.", {}, {}, "passthrough.show", PassthroughText}, on, off}};
}

}  // namespace kor::ctl
