// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/commands.h"
#include "kwwanctl/screens.h"
#include "kwwanctl/table.h"
#include "kwwanctl/verb.h"

namespace kor::ctl {
namespace {

std::string ListText(const Json& result, const Paint& paint) {
  Table table({"ID", "INTERFACE", "PDN"});
  for (const Json& vlan : Member(result, "vlans")) {
    table.Add({Member(vlan, "id"), Member(vlan, "interface"), Member(vlan, "pdn")});
  }
  return table.Text(paint, "There is no VLAN.");
}

}  // namespace

void AddVlan(CLI::App& app, Context& context) {
  const Arg id{"ID", "id", Number(1, 4094), "The VLAN", "", true};
  const Arg pdn{"PDN", "pdn", Number(1, 255), "The PDN: a policy's index, not the default one's (0)", "", true};
  const Arg mapped{"PDN", "pdn", Number(0, 255), "The PDN, as the list shows it", "", true};
  const Arg interface {
    "--interface", "interface", OneOf({"ethernet", "usb", "wlan"}),
        "Where its frames travel; ethernet unless said otherwise", "INTERFACE"
  };
  Verb add{"add", "Adds a VLAN.", {id, interface}, {{"vlan add 100", ""}, {"vlan add 200 --interface usb", ""}},
           "",    nullptr};
  add.action = [](Context& its_context, const Json& params) -> int {
    Json with_interface = params;
    if (!params.contains("interface")) with_interface["interface"] = "ethernet";
    its_context.out.Show(its_context.session().Call("vlan.add", with_interface), ListText);
    return kDone;
  };
  AddObject(app, context, "vlan", "VLANs of the LAN, and the PDNs that serve them.",
            {{"list", "Every VLAN and its PDN.", {}, {}, "vlan.list", ListText},
             add,
             {"remove", "Removes a VLAN.", {id}, {{"vlan remove 100", ""}}, "vlan.remove", ListText},
             {"map", "Lets a PDN serve a VLAN.", {id, pdn}, {{"vlan map 100 1", ""}}, "vlan.map", ListText},
             {"unmap", "Ends that.", {id, mapped}, {{"vlan unmap 100 1", ""}}, "vlan.unmap", ListText}});
}

}  // namespace kor::ctl
