// SPDX-License-Identifier: Apache-2.0
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "common/dns_paths.h"
#include "kwwand/host/core.h"
#include "kwwand/host/log.h"
#include "kwwand/host/options.h"
#include "kwwand/host/readiness.h"
#include "kwwand/host/stop_signals.h"
#include "kwwand/methods/registry.h"
#include "kwwand/methods/simulated_modem.h"
#include "kwwand/own_files.h"
#include "kwwand/wire/dispatcher.h"
#include "kwwand/wire/listen_socket.h"
#include "kwwand/wire/mailbox.h"
#include "kwwand/wire/server.h"
#include "shared/fd.h"

namespace kor::host {

namespace {

// What the library makes for dnsmasq, which is another user, it makes for all to read and write, less the umask: so
// this must be neither tighter nor, above all, wider, whatever the one who started the host has.
constexpr mode_t kUmask = 022;

// Beside what it guards, in the folder that the library makes for it. A program of another umask may have left that
// open to all.
std::string ForwarderLockPath() {
  const std::filesystem::path folder = std::filesystem::path(kor::wwan::kDnsmasqPidPath).parent_path();
  std::filesystem::create_directories(folder);
  CloseFolder(folder);
  return folder / "kwwand.lock";
}

// From the lock on the socket to its end, in order; each step is undone in the opposite order. Throws when it cannot
// start.
void Live(const Options& options, Readiness& readiness) {
  const StopSignals signals;
  ListenSocket listener(options.socket, options.mode, options.groups.change);
  // There is one resolv.conf and one dnsmasq: two hosts would end each other's.
  LockFile forwarder(ForwarderLockPath(), "runs this machine's DNS forwarder; stop it first");
  PidFile pid_file(options.pid_file);
  if (!options.scenario.empty()) RunModemScenario(options.scenario);
  Mailbox mailbox;
  const auto core = std::make_shared<Core>(Core::Options{options.socket + ".lan"}, [&mailbox](const Json& event) {
    mailbox.Post({Mail::Kind::kEvent, FormatNotification("event", event)});
  });
  core->Start();
  Dispatcher dispatcher(MakeMethods(core), mailbox);
  Server server(listener, mailbox, dispatcher, options.groups);
  syslog(LOG_INFO, "kwwand %s serves %s", KWWAN_VERSION, options.socket.c_str());
  readiness.Ready();

  server.Run(signals.fd());
  readiness.Stopping();
  syslog(LOG_INFO, "stopping");
  const bool all_returned = dispatcher.Stop();
  core->Stop();
  syslog(LOG_INFO, "stopped");
  if (all_returned) return;
  // A method waits in the library, for up to its ten seconds. It holds nothing that outlives the process.
  pid_file.Remove();
  forwarder.Release();
  listener.Release();
  _exit(EXIT_SUCCESS);
}

int Main(int argc, char** argv) {
  int status = EXIT_SUCCESS;
  const std::optional<Options> options = ParseOptions(argc, argv, status);
  if (!options) return status;
  OpenLog(options->log_level, options->log_to_stderr);
  // Before there is a thread or a client that reads it.
  if (!options->modem.empty()) setenv("KWWAN_MODEM", options->modem.c_str(), 1);
  if (!options->backoff_ms.empty()) setenv("KWWAN_BACKOFF_MS", options->backoff_ms.c_str(), 1);
  Readiness readiness;
  try {
    if (options->daemon) readiness.Detach();
    Live(*options, readiness);
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    syslog(LOG_ERR, "%s", error.what());
    readiness.Failed(error.what());
    return EXIT_FAILURE;
  }
}

}  // namespace

}  // namespace kor::host

int main(int argc, char** argv) {
  kor::tools::OpenStandardStreams();
  umask(kor::host::kUmask);
  try {
    return kor::host::Main(argc, argv);
  } catch (...) {  // Of the command line's reading: no memory, no current folder.
    return EXIT_FAILURE;
  }
}
