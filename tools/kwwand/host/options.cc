// SPDX-License-Identifier: Apache-2.0
#include "kwwand/host/options.h"

#include <grp.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <map>
#include <vector>

#include "shared/suggestions.h"

namespace kor::host {

namespace {

constexpr int kUsage = 2;  // Exit status.
constexpr char kBackoff[] = "--backoff-ms";

constexpr char kDescription[] =
    "kwwand: holds the data calls, the DNS forwarder and the AT service, and serves kwwanctl on a socket.";

constexpr char kFooter[] = R"(Examples:
  kwwand --modem simulated --stderr                 in the foreground, the log on the terminal too
  kwwand --modem simulated --daemon                 return when the host can be reached
  kwwand --modem simulated --group wwan             members of the group wwan may change things
  kwwand --modem simulated --scenario bench.txt     the simulated modem runs a scenario

On a device whose maker brings libraries of its own, --modem is not needed.

SIGTERM, SIGINT and SIGHUP stop it within 5 seconds.
Exit status: 0 stopped, 1 failed (standard error and the log say why), 2 usage.)";

// What a value must be. CLI11 puts the option's name before the text.
CLI::Validator Takes(const std::string& what, const std::function<bool(const std::string&)>& is_right) {
  return CLI::Validator(
      [what, is_right](std::string& value) {
        return is_right(value) ? std::string() : "takes " + what + ", not \"" + value + "\"";
      },
      "");
}

// What CLI11 says, made plain.
std::string Plain(const CLI::ParseError& error) {
  std::string text = error.what();
  const std::string missing = ": 1 required ";  // "--mode: 1 required MODE missing"
  const size_t at = text.find(missing);
  if (at != std::string::npos) text.replace(at, missing.size(), ": its ");
  return text[0] == ':' ? kBackoff + text : text;  // A hidden option is not named.
}

CLI::Validator TakesPath() {
  return Takes("a path", [](const std::string& value) { return !value.empty(); });
}

bool IsMode(const std::string& text) {
  return !text.empty() && text.size() <= 4 && text.find_first_not_of("01234567") == std::string::npos &&
         std::stoul(text, nullptr, 8) <= 0777;
}

std::optional<gid_t> GroupNamed(const std::string& name) {
  const group* entry = getgrnam(name.c_str());
  if (entry == nullptr) return std::nullopt;
  return entry->gr_gid;
}

// The name is of letters: it becomes a part of a library's.
bool IsModem(const std::string& text) {
  const std::string name = text.substr(0, text.find(':'));
  return !name.empty() && std::all_of(name.begin(), name.end(), [](unsigned char c) { return isalpha(c) != 0; });
}

const std::map<std::string, int> kLogLevels = {
    {"debug", LOG_DEBUG}, {"info", LOG_INFO}, {"warning", LOG_WARNING}, {"err", LOG_ERR}};

std::string Absolute(const std::string& path) {
  return path.empty() ? path : std::filesystem::absolute(path).lexically_normal().string();
}

// The parser and the texts that become Options when all is right.
class CommandLine {
 public:
  CommandLine() : app_(kDescription, "kwwand") {
    app_.footer(kFooter);
    app_.allow_extras();  // Told apart by hand, with a suggestion.
    app_.set_version_flag("--version", "kwwand " KWWAN_VERSION, "Show the version");
    app_.set_help_flag("--help,-h", "Show this text");
    AddSocketOptions();
    AddProcessOptions();
    AddModemOptions();
  }

  // Throws CLI::ParseError.
  Options Parse(int argc, char** argv) {
    app_.parse(argc, argv);
    RefuseExtras();
    options_.mode = static_cast<mode_t>(std::stoul(mode_, nullptr, 8));
    if (!group_.empty()) options_.groups.change = GroupNamed(group_);
    if (!run_group_.empty()) options_.groups.run = GroupNamed(run_group_);
    options_.log_level = kLogLevels.at(log_level_);
    for (std::string* path : {&options_.socket, &options_.pid_file, &options_.scenario}) *path = Absolute(*path);
    if (!backoff_.empty() && backoff_[0] > backoff_[1]) throw CLI::ValidationError(kBackoff, "takes MIN before MAX");
    if (!backoff_.empty()) options_.backoff_ms = std::to_string(backoff_[0]) + " " + std::to_string(backoff_[1]);
    return options_;
  }

  int Tell(const CLI::ParseError& error) { return app_.exit(error); }

 private:
  void AddSocketOptions() {
    app_.add_option("--socket", options_.socket, "Where clients connect (default /run/kwwand/kwwand.sock)")
        ->type_name("PATH")
        ->check(TakesPath());
    app_.add_option("--mode", mode_, "The socket's mode, octal (default 0660)")
        ->type_name("MODE")
        ->check(Takes("an octal mode from 0000 to 0777, such as 0660", IsMode));
    const CLI::Validator is_group = Takes("the name of a group of this machine",
                                          [](const std::string& name) { return GroupNamed(name).has_value(); });
    app_.add_option("--group", group_,
                    "The socket's group; its members may change things, as root and kwwand's user may")
        ->type_name("NAME")
        ->check(is_group);
    app_.add_option("--run-group", run_group_,
                    "Its members may also have AT commands answered by a command, which runs as kwwand's user")
        ->type_name("NAME")
        ->check(is_group);
  }

  void AddProcessOptions() {
    CLI::Option* daemon =
        app_.add_flag("--daemon", options_.daemon, "Run in the background; return when ready")->option_text(" ");
    app_.add_option("--pid-file", options_.pid_file, "Write the process id there; removed at the end")
        ->type_name("PATH")
        ->check(TakesPath());
    app_.add_option("--log-level", log_level_,
                    "Lowest priority that is logged: debug, info, warning or err (default info)")
        ->type_name("LEVEL")
        ->check(Takes("debug, info, warning or err",
                      [](const std::string& level) { return kLogLevels.count(level) != 0; }));
    app_.add_flag("--stderr", options_.log_to_stderr, "Log to standard error too")->option_text(" ")->excludes(daemon);
  }

  void AddModemOptions() {
    app_.add_option("--modem", options_.modem,
                    "The modem: simulated, or another NAME[:ARGUMENT] of a backend that is installed")
        ->type_name("MODEM")
        ->check(Takes("NAME or NAME:ARGUMENT, such as simulated", IsModem));
    app_.add_option("--scenario", options_.scenario, "A file of commands for the simulated modem, run before the start")
        ->type_name("FILE")
        ->check(
            Takes("a file that can be read", [](const std::string& path) { return access(path.c_str(), R_OK) == 0; }));
    app_.add_option(kBackoff, backoff_)
        ->expected(2)
        ->group("")  // For tests: not shown.
        ->check(CLI::Range(1, 3'600'000));
  }

  void RefuseExtras() {
    const std::vector<std::string> extras = app_.remaining();
    if (extras.empty()) return;
    std::vector<std::string> known;
    for (const CLI::Option* option : app_.get_options()) known.push_back(option->get_name());
    const auto nearest = kor::tools::Nearest(extras[0], known);
    throw CLI::ValidationError(extras[0], "unknown option" + (nearest ? "; did you mean " + *nearest + "?" : ""));
  }

  CLI::App app_;
  Options options_;
  std::string mode_ = "0660";
  std::string group_;
  std::string run_group_;
  std::string log_level_ = "info";
  std::vector<int> backoff_;
};

}  // namespace

std::optional<Options> ParseOptions(int argc, char** argv, int& status) {
  CommandLine line;
  try {
    return line.Parse(argc, argv);
  } catch (const CLI::Success& wanted) {
    status = line.Tell(wanted);
  } catch (const CLI::ParseError& error) {
    (void)fprintf(stderr, "kwwand: %s (kwwand --help lists the options)\n", Plain(error).c_str());
    status = kUsage;
  }
  return std::nullopt;
}

}  // namespace kor::host
