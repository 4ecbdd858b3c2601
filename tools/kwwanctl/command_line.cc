// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/command_line.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "kwwanctl/help.h"
#include "kwwanctl/interrupt_watcher.h"
#include "shared/suggestions.h"

namespace kor::ctl {

namespace {

const char kHelp[] =
    "Shows and changes the WWAN side of this device through its host, kwwand.\n"
    "Exit status: 0 done, 1 failed, 2 usage, 3 time-out, 4 host not reachable, 16 not supported.";

const char kMainExamples[] =
    "\nExamples:\n"
    "  kwwanctl status          everything on one screen\n"
    "  kwwanctl call up         policy 0, IPv4\n"
    "  kwwanctl call up --help  what a verb takes, with examples of its own\n"
    "  kwwanctl doctor          why is there no DNS?\n";

// A verb on the command line: its table entry, and what the parser found for it. Lives as long as the parser.
struct Bound {
  Verb verb;
  const CLI::App* app = nullptr;
  std::vector<CLI::Option*> options;  // One for each of verb.args.
  CLI::Option* watch = nullptr;
};

struct Stopped {};  // Thrown out of a request when the command ends meanwhile.

constexpr int64_t kLongestPause = 86'400;  // --watch: a day, in seconds.

Json Value(const Arg& arg, const std::string& word) {
  auto value = arg.type.parse(word);
  if (!value) throw UsageError(arg.name, arg.type.text, word, kor::tools::Nearest(word, arg.type.words).value_or(""));
  return *value;
}

bool Has(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

CommandError Exclude(const std::string& one, const std::string& other) {
  return {kErrorUsage, one + " and " + other + " exclude each other", Json{{"argument", other}}};
}

// The arguments that are there, as params.
Json ParamsOf(const Bound& bound) {
  Json params = Json::object();
  std::string first_of_group;
  for (size_t i = 0; i < bound.options.size(); ++i) {
    const Arg& arg = bound.verb.args[i];
    if (bound.options[i]->count() == 0) {
      if (arg.required) throw UsageError(arg.name, arg.type.text, "");
      continue;
    }
    for (size_t j = 0; j < i; ++j) {
      const Arg& before = bound.verb.args[j];
      if (before.key == arg.key && bound.options[j]->count() > 0) throw Exclude(before.name, arg.name);
    }
    if (Has(bound.verb.one_of, arg.name)) {
      if (!first_of_group.empty()) throw Exclude(first_of_group, arg.name);
      first_of_group = arg.name;
    }
    params[arg.key] = Value(arg, bound.options[i]->results()[0]);
  }
  if (first_of_group.empty() && !bound.verb.one_of.empty()) {
    throw UsageError(bound.verb.name, Listed(bound.verb.one_of), "");
  }
  return params;
}

int Do(Context& context, const Verb& verb, const Json& params) {
  return verb.action ? verb.action(context, params) : context.Ask(verb.method, params, verb.render, verb.limit);
}

Session::Milliseconds PauseOf(const CLI::Option& watch) {
  constexpr Session::Milliseconds kUsualPause{2000};
  const std::string word = watch.results().empty() ? "" : watch.results()[0];
  if (word.empty()) return kUsualPause;
  const Json seconds = Value({"--watch", "", Number(1, kLongestPause), ""}, word);
  return std::chrono::seconds(seconds.get<int64_t>());
}

// Asks and shows until interrupted.
int Watch(Context& context, const Verb& verb, const Json& params, Session::Milliseconds pause) {
  InterruptWatcher watcher;
  const bool whole_screen = isatty(STDOUT_FILENO) != 0;
  const auto stop = [&watcher](const Session::Notification*) {
    if (watcher.Wait(-1, Session::Milliseconds(0)) == InterruptWatcher::Woken::kInterrupted) throw Stopped();
  };
  try {
    do {
      const Json result = context.session().Call(verb.method, params, verb.limit, stop);
      if (whole_screen) context.out.Say("\x1b[H\x1b[2J");
      context.out.Show(result, verb.render);
      if (!whole_screen) context.out.Say("\n");
    } while (watcher.Wait(-1, pause) != InterruptWatcher::Woken::kInterrupted);
  } catch (const Stopped&) {
  }
  return kDone;
}

int RunVerb(Context& context, const Bound& bound) {
  if (bound.verb.all_words) return Do(context, bound.verb, Json{{"words", bound.app->remaining()}});
  const Json params = ParamsOf(bound);
  const bool watched = bound.watch != nullptr && bound.watch->count() > 0;
  return watched ? Watch(context, bound.verb, params, PauseOf(*bound.watch)) : Do(context, bound.verb, params);
}

CLI::Option* AddArg(CLI::App& app, const Arg& arg) {
  const bool flag = arg.name[0] == '-' && arg.value.empty();
  if (flag) return app.add_flag(arg.name);
  const CLI::callback_t taken = [](const CLI::results_t&) { return true; };
  return app.add_option(arg.name, taken, arg.type.text);
}

std::vector<const CLI::App*> Subcommands(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App*) { return true; });
}

Entries EntriesOf(const CLI::App& app) {
  Entries entries;
  for (const CLI::App* sub : Subcommands(app)) entries.emplace_back(sub->get_name(), sub->get_description());
  return entries;
}

std::string MainHelp(const CLI::App& app) { return ObjectHelp("kwwanctl", kHelp, EntriesOf(app)) + kMainExamples; }

std::string PathOf(const CLI::App& app) {
  return app.get_parent() == nullptr ? app.get_name() : PathOf(*app.get_parent()) + ' ' + app.get_name();
}

// The words that the parser left over, those that are missing, and those it refused, as usage errors.

using Names = std::vector<std::string>;

Names NamesOf(const CLI::App& app) {
  Names names;
  for (const CLI::App* sub : Subcommands(app)) names.push_back(sub->get_name());
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
  if (IsOption(word)) return {kErrorUsage, path + ": unknown option \"" + word + '"', Data(word, nearest)};
  return UsageError(path, known.empty() ? "no further argument" : Listed(known), word, nearest);
}

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
  if (option != nullptr) return {kErrorUsage, name + ": may be given only once", Json{{"argument", name}}};
  return {kErrorUsage, message, Json{{"argument", name}}};
}

// A command is chosen while the command line is parsed and runs afterwards, when no word of it is left over.
class CommandLine {
 public:
  explicit CommandLine(const std::vector<Object>& objects) : app_("", "kwwanctl") {
    app_.require_subcommand(0, 1);
    for (const Object& object : objects) AddObject(object);
    AddGlobalOptions(app_);
    app_.formatter_fn([](const CLI::App* self, const std::string&, CLI::AppFormatMode) { return MainHelp(*self); });
  }

  int Run(int argc, char** argv) {
    try {
      return ParseAndRun(argc, argv);
    } catch (const CommandError& error) {
      return Fail(error);
    } catch (const Json::exception& error) {
      return Fail(NotUnderstood(error.what()));
    }
  }

 private:
  void AddObject(const Object& object) {
    if (object.verbs.size() == 1 && object.verbs[0].name == object.name) return AddVerb(app_, object.verbs[0]);
    CLI::App* app = app_.add_subcommand(object.name, object.help);
    app->require_subcommand(0, 1);
    for (const Verb& verb : object.verbs) AddVerb(*app, verb);
    app->formatter_fn([](const CLI::App* self, const std::string&, CLI::AppFormatMode) {
      return ObjectHelp(PathOf(*self), self->get_description(), EntriesOf(*self));
    });
  }

  void AddVerb(CLI::App& parent, const Verb& verb) {
    CLI::App* app = parent.add_subcommand(verb.name, verb.help);
    const auto bound = std::make_shared<Bound>();
    bound->verb = verb;
    bound->app = app;
    app->prefix_command(verb.all_words);
    if (!verb.all_words) {
      for (const Arg& arg : verb.args) bound->options.push_back(AddArg(*app, arg));
    }
    if (verb.watch) {
      const CLI::callback_t taken = [](const CLI::results_t&) { return true; };
      bound->watch = app->add_option("--watch", taken)->expected(0, 1);
    }
    app->callback([this, bound] { chosen_ = bound; });
    app->formatter_fn([bound](const CLI::App* self, const std::string&, CLI::AppFormatMode) {
      return VerbHelp(PathOf(*self), bound->verb);
    });
  }

  // To `app` and everything below it, so that the global options may stand anywhere.
  void AddGlobalOptions(CLI::App& app) {
    app.set_help_flag("-h,--help");
    app.allow_extras();
    app.add_option("--socket", context_.options.socket, "the path of the host's socket");
    app.add_flag("--json", context_.options.json);
    app.add_flag("--no-color", context_.options.no_color);
    for (CLI::App* sub : app.get_subcommands([](const CLI::App*) { return true; })) AddGlobalOptions(*sub);
  }

  // Throws CommandError. The exit status of what was chosen; kDone when help was wanted.
  int ParseAndRun(int argc, char** argv) {
    try {
      app_.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
      context_.options.json = false;
      context_.out.Say(app_.help());
      return kDone;
    } catch (const CLI::ParseError& e) {
      context_.options.json = std::find(argv, argv + argc, std::string("--json")) != argv + argc;
      throw ParserError(app_, e.what());
    }
    CheckWords(app_);
    return RunVerb(context_, *chosen_);
  }

  int Fail(const CommandError& error) {
    if (context_.out.reader_gone()) return kDone;
    context_.out.Tell(error);
    return StatusOf(error);
  }

  Context context_;
  CLI::App app_;
  std::shared_ptr<Bound> chosen_;
};

}  // namespace

int RunCommandLine(int argc, char** argv, const std::vector<Object>& objects) {
  return CommandLine(objects).Run(argc, argv);
}

}  // namespace kor::ctl
