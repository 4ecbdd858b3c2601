// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/commands.h"
#include "kwwanctl/screens.h"
#include "kwwanctl/secret.h"
#include "kwwanctl/table.h"
#include "kwwanctl/verb.h"

namespace kor::ctl {
namespace {

std::string PowerText(const Json& sim, const Paint&) {
  return "SIM " + ToText(Member(sim, "slot")) + ": power " + ToText(Member(sim, "power")) + '\n';
}

std::string PinText(const Json& pin, const Paint&) { return "PIN: " + ToText(Member(pin, "status")) + '\n'; }

Verb PowerVerb(const std::string& name, const std::string& help) {
  Verb verb{name, help, {{"SLOT", "slot", Number(1, 8), "The slot; 1 unless said otherwise"}}, {}};
  verb.examples = {{"sim " + name, "slot 1"}, {"sim " + name + " 2", "slot 2"}};
  verb.action = [name](Context& context, Json params) -> int {
    if (!params.contains("slot")) params["slot"] = 1;
    context.out.Show(context.session().Call("sim." + name, params), PowerText);
    return kDone;
  };
  return verb;
}

// A verb that needs PINs; `read` adds them to the params.
Verb PinVerb(const std::string& name, const std::string& help, const std::function<void(Json& params)>& read) {
  Verb verb{name,
            help + " PINs are asked for, or read from standard input, a line each.",
            {{"--pin2", "pin_id", Flag(2), "PIN2 instead of PIN1"}},
            {{"pin " + name, "asks"}, {"pin " + name + " < FILE", "reads"}},
            "",
            nullptr};
  verb.action = [name, read](Context& context, Json params) -> int {
    if (!params.contains("pin_id")) params["pin_id"] = 1;
    read(params);
    context.out.Show(context.session().Call("pin." + name, params), PinText);
    return kDone;
  };
  return verb;
}

}  // namespace

void AddSim(CLI::App& app, Context& context) {
  AddObject(app, context, "sim", "The power of the SIM card.",
            {PowerVerb("on", "Gives it power."), PowerVerb("off", "Takes the power away; calls go down.")});
}

void AddPin(CLI::App& app, Context& context) {
  const auto one = [](Json& params) { params["pin"] = ReadPin("PIN: "); };
  const auto two = [](Json& params) {
    params["old_pin"] = ReadPin("Old PIN: ");
    params["new_pin"] = ReadNewPin("New PIN: ");
  };
  AddObject(app, context, "pin", "The PINs of the SIM card. Never arguments: others would see them.",
            {{"status", "Whether the PIN is wanted.", {}, {}, "pin.status", PinText},
             PinVerb("lock", "Switches the lock on: the PIN is wanted whenever the card gets power.", one),
             PinVerb("unlock", "Switches the lock off.", one),
             PinVerb("change", "Changes the PIN.", two)});
}

}  // namespace kor::ctl
