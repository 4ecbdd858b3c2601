// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/help.h"

#include <algorithm>

#include "kwwanctl/table.h"

namespace kor::ctl {
namespace {

const char kGlobalOptions[] =
    "\nGlobal options: --json (the host's answer as it is), --no-color, --socket PATH (the host's), --help\n";

std::string Option(const Arg& arg) { return arg.value.empty() ? arg.name : arg.name + ' ' + arg.value; }

// An argument as the usage line shows it; those of which one must be there come in parentheses.
std::string UsageWords(const Verb& verb) {
  std::string words;
  std::string group;
  for (const Arg& arg : verb.args) {
    const bool in_group = std::find(verb.one_of.begin(), verb.one_of.end(), arg.name) != verb.one_of.end();
    if (in_group) {
      group += (group.empty() ? "" : " | ") + Option(arg);
    } else {
      words += arg.required ? ' ' + Option(arg) : " [" + Option(arg) + ']';
    }
  }
  if (verb.watch) words += " [--watch [SECONDS]]";
  return words + (group.empty() ? "" : " (" + group + ')');
}

std::string ArgHelp(const Arg& arg) {
  return arg.help + (arg.help.empty() || arg.type.text.empty() ? "" : ": ") + arg.type.text;
}

std::string FirstSentence(const std::string& text) {
  const size_t end = text.find(". ");
  return end == std::string::npos ? text : text.substr(0, end + 1);
}

// Two columns, indented.
std::string Columns(const Entries& entries) {
  size_t width = 0;
  for (const auto& entry : entries) width = std::max(width, entry.first.size());
  std::string text;
  for (const auto& [name, what] : entries) text += "  " + (what.empty() ? name : Pad(name, width + 2) + what) + '\n';
  return text;
}

}  // namespace

std::string VerbHelp(const std::string& path, const Verb& verb) {
  std::string text = "Usage: " + path + UsageWords(verb) + "\n\n" + verb.help + '\n';
  Entries args;
  for (const Arg& arg : verb.args) args.emplace_back(Option(arg), ArgHelp(arg));
  if (verb.watch) args.emplace_back("--watch [SECONDS]", "Repeat every SECONDS (default 2)");
  if (!verb.args.empty() || verb.watch) text += '\n' + Columns(args);
  Entries examples;
  for (const Example& example : verb.examples) examples.emplace_back("kwwanctl " + example.command, example.what);
  if (!verb.examples.empty()) text += "\nExamples:\n" + Columns(examples);
  return text + kGlobalOptions;
}

std::string ObjectHelp(const std::string& path, const std::string& help, const Entries& entries) {
  Entries lines;
  for (const auto& [name, its_help] : entries) lines.emplace_back(name, FirstSentence(its_help));
  const std::string kind = path.find(' ') == std::string::npos ? "OBJECT [VERB] [ARGUMENTS]" : "VERB [ARGUMENTS]";
  return "Usage: " + path + ' ' + kind + "\n\n" + help + "\n\n" + Columns(lines) + kGlobalOptions;
}

}  // namespace kor::ctl
