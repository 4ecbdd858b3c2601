// SPDX-License-Identifier: Apache-2.0
// at, sim, pin, modem
#include <functional>

#include "kwwanctl/commands/commands.h"
#include "kwwanctl/secret.h"
#include "kwwanctl/table.h"

namespace kor::ctl {

namespace {

// For answers that say no more than that it is done.
std::string NoText(const Json&, const Paint&) { return ""; }

void AddClaim(Table& table, const Json& command) {
  const std::string state = ToText(Member(command, "state"));
  const Colour colour = state == "registered" ? Colour::kGood : state == "refused" ? Colour::kBad : Colour::kWarning;
  const Json run = Member(command, "run");
  table.Add({Member(command, "name"),
             {state, colour},
             Member(command, "served"),
             run.is_null() ? "answers" : "runs",
             run.is_null() ? Member(command, "answer") : run});
}

std::string ClaimsText(const Json& result, const Paint& paint) {
  Table table({"NAME", "STATE", "SERVED", "HOW", "TEXT"});
  for (const Json& command : Member(result, "commands")) AddClaim(table, command);
  return table.Text(paint, "No AT command is claimed.");
}

std::string ClaimedText(const Json& command, const Paint& paint) {
  return ClaimsText(Json{{"commands", Json::array({command})}}, paint);
}

std::string PowerText(const Json& sim, const Paint&) {
  return "SIM " + ToText(Member(sim, "slot")) + ": power " + ToText(Member(sim, "power")) + '\n';
}

std::string PinText(const Json& pin, const Paint&) { return "PIN: " + ToText(Member(pin, "status")) + '\n'; }

Verb PowerVerb(const std::string& name, const std::string& help) {
  Verb verb{name, help, {{"SLOT", "slot", Number(1, 8), "The slot (default 1)"}}, {}};
  verb.examples = {{"sim " + name, "slot 1"}, {"sim " + name + " 2", "slot 2"}};
  verb.action = [name](Context& context, Json params) -> int {
    if (!params.contains("slot")) params["slot"] = 1;
    return context.Ask("sim." + name, params, PowerText);
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
    return context.Ask("pin." + name, params, PinText);
  };
  return verb;
}

// A word as the scenario language reads it back.
std::string Quoted(const std::string& word) {
  if (!word.empty() && word.find_first_of(" \t\"\\#") == std::string::npos) return word;
  std::string quoted = "\"";
  for (const char c : word) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

// A single word with blanks is a whole line ("kwwanctl modem 'connect-delay 300'").
std::string Line(std::vector<std::string> words) {
  if (!words.empty() && words[0] == "--") words.erase(words.begin());
  if (words.empty()) throw UsageError("modem", "a command (\"kwwanctl modem help\" lists them)", "");
  std::string line;
  for (const std::string& word : words) line += (line.empty() ? "" : " ") + (words.size() == 1 ? word : Quoted(word));
  if (!IsUtf8(line)) throw UsageError("modem", "text in UTF-8", Escape(line));
  return line;
}

std::string ReplyText(const Json& reply, const Paint&) {
  const Json text = Member(reply, "text");
  const std::string escaped = text.is_string() ? EscapeLines(text.get<std::string>()) : "";
  return escaped.empty() || escaped.back() == '\n' ? escaped : escaped + '\n';
}

}  // namespace

Object AtCommands() {
  const Arg name{"NAME", "name", Text("a name like +KWPING"), "The AT command", "", true};
  const Arg run{"--run", "run", Text("a shell command"), "Runs this and answers with what it writes", "COMMAND"};
  const Arg answer{"--answer", "answer", Text("a text"), "Answers this", "TEXT"};
  const Arg text{"TEXT", "text", Text("a text"), "What the terminals show", "", true};
  Verb claim{
      "claim",
      "Serves an AT command from now on.",
      {name, run, answer},
      {{"at claim +KWPING --answer \"+KWPING: pong\"", ""}, {"at claim +KWLOAD --run \"cat /proc/loadavg\"", ""}},
      "at.claim",
      ClaimedText};
  claim.one_of = {"--run", "--answer"};
  return {"at",
          "AT commands that the host serves.",
          {{"list", "Every claimed command and its state.", {}, {}, "at.list", ClaimsText},
           claim,
           {"release",
            "Takes a claim back. The modem keeps the name; its commands fail until it is claimed anew.",
            {name},
            {{"at release +KWPING", ""}},
            "at.release",
            NoText},
           {"notify",
            "Sends an unsolicited text to the AT terminals.",
            {text},
            {{"at notify \"+KWUP: 1\"", ""}},
            "at.notify",
            NoText},
           {"ready", "Tells the modem that all commands are claimed.", {}, {}, "at.ready", NoText}}};
}

Object SimCommands() {
  return {"sim",
          "The power of the SIM card.",
          {PowerVerb("on", "Switches it on."), PowerVerb("off", "Switches it off; calls go down.")}};
}

Object PinCommands() {
  const auto one = [](Json& params) { params["pin"] = ReadPin("PIN: "); };
  const auto two = [](Json& params) {
    params["old_pin"] = ReadPin("Old PIN: ");
    params["new_pin"] = ReadNewPin("New PIN: ");
  };
  return {"pin",
          "The PINs of the SIM card. Never arguments: others would see them.",
          {{"status", "Whether the PIN is required.", {}, {}, "pin.status", PinText},
           PinVerb("lock", "Switches the lock on: the PIN is required at each power-up of the card.", one),
           PinVerb("unlock", "Switches the lock off.", one),
           PinVerb("change", "Changes the PIN.", two)}};
}

Object ModemCommand() {
  Verb verb{"modem",
            "Commands of the simulated modem.",
            {{"WORD...", "words", Text("a command and its arguments"), "One command", "", true}},
            {{"modem help", "all commands"}, {"modem drop 100 4", "the network takes a call down"}}};
  verb.all_words = true;
  verb.action = [](Context& context, const Json& params) -> int {
    return context.Ask("modem.run", Json{{"line", Line(params.at("words"))}}, ReplyText);
  };
  return Alone(verb);
}

}  // namespace kor::ctl
