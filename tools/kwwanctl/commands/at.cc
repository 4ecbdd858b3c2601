// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/commands.h"
#include "kwwanctl/screens.h"
#include "kwwanctl/table.h"
#include "kwwanctl/verb.h"

namespace kor::ctl {
namespace {

void AddRow(Table& table, const Json& command) {
  const std::string state = ToText(Member(command, "state"));
  const Colour colour = state == "registered" ? Colour::kGood : state == "refused" ? Colour::kBad : Colour::kWarning;
  const Json run = Member(command, "run");
  table.Add({Member(command, "name"),
             {state, colour},
             Member(command, "served"),
             run.is_null() ? "answers" : "runs",
             run.is_null() ? Member(command, "answer") : run});
}

std::string ListText(const Json& result, const Paint& paint) {
  Table table({"NAME", "STATE", "SERVED", "HOW", "TEXT"});
  for (const Json& command : Member(result, "commands")) AddRow(table, command);
  return table.Text(paint, "No AT command is claimed.");
}

std::string ClaimedText(const Json& command, const Paint& paint) {
  return ListText(Json{{"commands", Json::array({command})}}, paint);
}

}  // namespace

void AddAt(CLI::App& app, Context& context) {
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
  AddObject(app, context, "at", "AT commands that the host serves.",
            {{"list", "Every claimed command and what became of it.", {}, {}, "at.list", ListText},
             claim,
             {"release",
              "Takes a claim back. The modem keeps the name; its commands fail until it is claimed anew.",
              {name},
              {{"at release +KWPING", ""}},
              "at.release",
              Quiet},
             {"notify",
              "Shows a text on the AT terminals, unasked.",
              {text},
              {{"at notify \"+KWUP: 1\"", ""}},
              "at.notify",
              Quiet},
             {"ready", "Tells the modem that all commands are claimed.", {}, {}, "at.ready", Quiet}});
}

}  // namespace kor::ctl
