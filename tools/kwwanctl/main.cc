// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <string>

#include "kwwanctl/commands.h"
#include "kwwanctl/help.h"
#include "kwwanctl/usage.h"
#include "shared/fd.h"

namespace {

using kor::ctl::CommandError;
using kor::ctl::Context;

const char kHelp[] =
    "Shows and changes the WWAN side of this device through its host, kwwand.\n"
    "Exit status: 0 done, 1 failed, 2 usage, 3 time-out, 4 host not reachable, 16 not supported.";

const char kExamples[] =
    "\nExamples:\n"
    "  kwwanctl status          everything on one screen\n"
    "  kwwanctl call up         policy 0, IPv4\n"
    "  kwwanctl call up --help  what a verb takes, with examples of its own\n"
    "  kwwanctl doctor          why is there no DNS?\n";

void AddObjects(CLI::App& app, Context& context) {
  for (const auto add :
       {kor::ctl::AddStatus, kor::ctl::AddCall, kor::ctl::AddPolicy, kor::ctl::AddProfile, kor::ctl::AddDns,
        kor::ctl::AddAt, kor::ctl::AddLan, kor::ctl::AddVlan, kor::ctl::AddPassthrough, kor::ctl::AddRadio,
        kor::ctl::AddSim, kor::ctl::AddPin, kor::ctl::AddSms, kor::ctl::AddMonitor, kor::ctl::AddModem,
        kor::ctl::AddDevice, kor::ctl::AddDoctor, kor::ctl::AddVersion}) {
    add(app, context);
  }
}

// To `app` and everything below it, so that the global options may stand anywhere.
void AddGlobalOptions(CLI::App& app, kor::ctl::GlobalOptions& options) {
  app.set_help_flag("-h,--help");
  app.allow_extras();
  app.add_option("--socket", options.socket, "the path of the host's socket");
  app.add_flag("--json", options.json);
  app.add_flag("--no-color", options.no_color);
  for (CLI::App* sub : app.get_subcommands([](const CLI::App*) { return true; })) AddGlobalOptions(*sub, options);
}

std::string MainHelp(const CLI::App* app) {
  std::vector<std::pair<std::string, std::string>> entries;
  for (const CLI::App* sub : app->get_subcommands([](const CLI::App*) { return true; })) {
    entries.emplace_back(sub->get_name(), sub->get_description());
  }
  return kor::ctl::ObjectHelp("kwwanctl", kHelp, entries) + kExamples;
}

// Throws CommandError. The exit status of what was chosen; kDone when help was wanted.
int Run(CLI::App& app, Context& context, int argc, char** argv) {
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    context.options.json = false;
    context.out.Say(app.help());
    return kor::ctl::kDone;
  } catch (const CLI::ParseError& e) {
    context.options.json = std::find(argv, argv + argc, std::string("--json")) != argv + argc;
    throw kor::ctl::ParserError(app, e.what());
  }
  kor::ctl::CheckWords(app);
  return context.chosen();
}

int Fail(Context& context, const CommandError& error) {
  if (context.out.reader_gone()) return kor::ctl::kDone;
  context.out.Tell(error);
  return StatusOf(error);
}

int Main(int argc, char** argv) {
  Context context;
  CLI::App app("", "kwwanctl");
  app.require_subcommand(0, 1);
  AddObjects(app, context);
  AddGlobalOptions(app, context.options);
  app.formatter_fn([](const CLI::App* self, const std::string&, CLI::AppFormatMode) { return MainHelp(self); });
  try {
    return Run(app, context, argc, argv);
  } catch (const CommandError& error) {
    return Fail(context, error);
  } catch (const kor::ctl::Json::exception& error) {
    return Fail(context, kor::ctl::NotUnderstood(error.what()));
  }
}

}  // namespace

int main(int argc, char** argv) {
  kor::tools::OpenStandardStreams();
  try {
    return Main(argc, argv);
  } catch (const std::exception& e) {
    (void)fprintf(stderr, "kwwanctl: %s\n", e.what());
    return kor::ctl::kFailed;
  }
}
