// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>

#include "kwwanctl/commands.h"
#include "kwwanctl/help.h"
#include "kwwanctl/screens.h"
#include "kwwanctl/text.h"

namespace kor::ctl {
namespace {

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
  if (words.empty()) throw UsageError("modem", "a command; \"kwwanctl modem help\" lists them", "");
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

void AddModem(CLI::App& app, Context& context) {
  const Verb verb{"modem",
                  "Commands of the simulated modem.",
                  {{"WORD...", "line", Text("a command and its arguments"), "One command", "", true}},
                  {{"modem help", "all commands"}, {"modem drop 100 4", "the network takes a call down"}},
                  "modem.run",
                  ReplyText};
  CLI::App* modem = app.add_subcommand(verb.name, verb.help);
  modem->prefix_command();
  modem->callback([modem, &context, verb] {
    context.Choose([modem, &context, verb] {
      return AskAndShow(context, verb, Json{{"line", Line(modem->remaining())}});
    });
  });
  modem->formatter_fn(
      [verb](const CLI::App*, const std::string&, CLI::AppFormatMode) { return VerbHelp("kwwanctl modem", verb); });
}

}  // namespace kor::ctl
