// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/usage.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "kwwanctl/takes.h"
#include "shared/suggestions.h"

namespace kor::ctl {
namespace {

using Names = std::vector<std::string>;

Names NamesOf(const CLI::App& app) {
  Names names;
  for (const CLI::App* sub : app.get_subcommands([](const CLI::App*) { return true; }))
    names.push_back(sub->get_name());
  return names;
}

Names OptionNames(const CLI::App& app) {
  Names names;
  for (const CLI::Option* option : app.get_options()) {
    const std::string name = option->get_name();
    if (name[0] == '-') names.push_back(name);
  }
  return names;
}

Names LeftOver(const CLI::App& app) {
  Names words = app.remaining();
  words.erase(std::remove(words.begin(), words.end(), "--"), words.end());
  return words;
}

bool IsOption(const std::string& word) { return word.size() > 1 && word[0] == '-'; }

Json Data(const std::string& word, const std::string& nearest) {
  Json data{{"argument", word}};
  if (!nearest.empty()) data["nearest"] = nearest;
  return data;
}

CommandError Unknown(const std::string& path, const CLI::App& app, const std::string& word) {
  const Names known = IsOption(word) ? OptionNames(app) : NamesOf(app);
  const std::string nearest = kor::tools::Nearest(word, known).value_or("");
  if (IsOption(word)) return {kErrorUsage, path + ": has no option \"" + word + '"', Data(word, nearest)};
  return UsageError(path, known.empty() ? "no further argument" : Listed(known), word, nearest);
}

}  // namespace

void CheckWords(const CLI::App& app) {
  const CLI::App* level = &app;
  std::string path = "OBJECT";
  while (!level->get_prefix_command()) {
    const auto chosen = level->get_subcommands();
    const Names words = LeftOver(*level);
    if (!words.empty()) throw Unknown(path, *level, words[0]);
    if (chosen.empty() && !NamesOf(*level).empty()) throw UsageError(path, Listed(NamesOf(*level)), "");
    if (chosen.empty()) return;
    level = chosen[0];
    path = level->get_parent() == &app ? level->get_name() : path.append(" ").append(level->get_name());
  }
}

CommandError ParserError(const CLI::App& app, const std::string& message) {
  const CLI::App* level = &app;
  while (!level->get_subcommands().empty()) level = level->get_subcommands()[0];
  const std::string name = message.substr(0, message.find(':'));
  const CLI::Option* option = level->get_option_no_throw(name);
  const bool missing = message.find("missing") != std::string::npos;
  if (option != nullptr && missing) return UsageError(name, option->get_description(), "");
  if (option != nullptr) return {kErrorUsage, name + ": must not be there twice", Json{{"argument", name}}};
  return {kErrorUsage, message, Json{{"argument", name}}};
}

}  // namespace kor::ctl
