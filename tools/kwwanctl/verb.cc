// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/verb.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "kwwanctl/ending.h"
#include "kwwanctl/help.h"
#include "shared/suggestions.h"

namespace kor::ctl {
namespace {

// A verb on the command line: its table entry, and what the parser found for it. Lives as long as the parser.
struct Bound {
  Verb verb;
  std::vector<CLI::Option*> options;  // One for each of verb.args.
  CLI::Option* watch = nullptr;
};

struct Stopped {};  // Thrown out of a request when the command ends meanwhile.

constexpr int64_t kLongestPause = 86'400;  // --watch: a day, in seconds.

Json Value(const Arg& arg, const std::string& word) {
  auto value = arg.takes.parse(word);
  if (!value) throw UsageError(arg.name, arg.takes.text, word, kor::tools::Nearest(word, arg.takes.words).value_or(""));
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
      if (arg.required) throw UsageError(arg.name, arg.takes.text, "");
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
  return verb.action ? verb.action(context, params) : AskAndShow(context, verb, params);
}

Session::Milliseconds PauseOf(const CLI::Option& watch) {
  constexpr Session::Milliseconds kUsualPause{2000};
  const std::string word = watch.results().empty() ? "" : watch.results()[0];
  if (word.empty()) return kUsualPause;
  const Json seconds = Value({"--watch", "", Number(1, kLongestPause), ""}, word);
  return std::chrono::seconds(seconds.get<int64_t>());
}

// Asks and shows until somebody has had enough of it.
int Watch(Context& context, const Verb& verb, const Json& params, Session::Milliseconds pause) {
  Ending ending;
  const bool whole_screen = isatty(STDOUT_FILENO) != 0;
  const auto stop = [&ending](const Session::Notification*) {
    if (ending.Wait(-1, Session::Milliseconds(0)) == Ending::Woken::kEnd) throw Stopped();
  };
  try {
    do {
      const Json result = context.session().Call(verb.method, params, verb.limit, stop);
      if (whole_screen) context.out.Say("\x1b[H\x1b[2J");
      context.out.Show(result, verb.render);
      if (!whole_screen) context.out.Say("\n");
    } while (ending.Wait(-1, pause) != Ending::Woken::kEnd);
  } catch (const Stopped&) {
  }
  return kDone;
}

int Run(Context& context, const Bound& bound) {
  const Json params = ParamsOf(bound);
  const bool watched = bound.watch != nullptr && bound.watch->count() > 0;
  return watched ? Watch(context, bound.verb, params, PauseOf(*bound.watch)) : Do(context, bound.verb, params);
}

CLI::Option* AddArg(CLI::App& app, const Arg& arg) {
  const bool flag = arg.name[0] == '-' && arg.value.empty();
  if (flag) return app.add_flag(arg.name);
  const CLI::callback_t taken = [](const CLI::results_t&) { return true; };
  return app.add_option(arg.name, taken, arg.takes.text);
}

std::string PathOf(const CLI::App& app) {
  return app.get_parent() == nullptr ? app.get_name() : PathOf(*app.get_parent()) + ' ' + app.get_name();
}

}  // namespace

int AskAndShow(Context& context, const Verb& verb, const Json& params) {
  context.out.Show(context.session().Call(verb.method, params, verb.limit), verb.render);
  return kDone;
}

void AddVerb(CLI::App& parent, Context& context, const Verb& verb) {
  CLI::App* app = parent.add_subcommand(verb.name, verb.help);
  const auto bound = std::make_shared<Bound>();
  bound->verb = verb;
  for (const Arg& arg : verb.args) bound->options.push_back(AddArg(*app, arg));
  if (verb.watch) {
    const CLI::callback_t taken = [](const CLI::results_t&) { return true; };
    bound->watch = app->add_option("--watch", taken)->expected(0, 1);
  }
  app->callback([&context, bound] { context.Choose([&context, bound] { return Run(context, *bound); }); });
  app->formatter_fn([bound](const CLI::App* self, const std::string&, CLI::AppFormatMode) {
    return VerbHelp(PathOf(*self), bound->verb);
  });
}

void AddObject(CLI::App& app, Context& context, const std::string& name, const std::string& help,
               const std::vector<Verb>& verbs) {
  CLI::App* object = app.add_subcommand(name, help);
  object->require_subcommand(0, 1);
  std::vector<std::pair<std::string, std::string>> entries;
  for (const Verb& verb : verbs) {
    AddVerb(*object, context, verb);
    entries.emplace_back(verb.name, verb.help);
  }
  object->formatter_fn([help, entries](const CLI::App* self, const std::string&, CLI::AppFormatMode) {
    return ObjectHelp(PathOf(*self), help, entries);
  });
}

}  // namespace kor::ctl
