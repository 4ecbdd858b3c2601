// SPDX-License-Identifier: Apache-2.0
#include <syslog.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "common/standard_streams.h"
#include "kwwand/dispatcher.h"
#include "kwwand/host.h"
#include "kwwand/listen_socket.h"
#include "kwwand/mailbox.h"
#include "kwwand/methods/simulated_modem.h"
#include "kwwand/options.h"
#include "kwwand/pid_file.h"
#include "kwwand/readiness.h"
#include "kwwand/server.h"
#include "kwwand/stop_signals.h"

namespace kor::host {

namespace {

void OpenLog(const Options& options) {
  openlog("kwwand", LOG_PID | (options.log_to_stderr ? LOG_PERROR : 0), LOG_DAEMON);
  setlogmask(LOG_UPTO(options.log_level));
}

void StartHost(Host& host) {
  std::string why;
  if (!host.Start(why)) throw std::runtime_error(why);
}

// From the lock on the socket to its end, in order; each step is undone in the opposite order. Throws when it cannot
// start.
void Live(const Options& options, Readiness& readiness) {
  const StopSignals signals;
  ListenSocket listener(options.socket, options.mode, options.groups.change);
  PidFile pid_file(options.pid_file);
  if (!options.scenario.empty()) RunModemScenario(options.scenario);
  Mailbox mailbox;
  Host host({options.backoff_min, options.backoff_max, options.socket + ".lan"}, [&mailbox](const Json& event) {
    mailbox.Post({Mail::Kind::kEvent, FormatNotification("event", event)});
  });
  StartHost(host);
  Dispatcher dispatcher(host.MakeMethods(), mailbox);
  Server server(listener, mailbox, dispatcher, options.groups);
  syslog(LOG_INFO, "kwwand %s serves %s", KWWAN_VERSION, options.socket.c_str());
  readiness.Ready();

  server.Run(signals.fd());
  readiness.Stopping();
  syslog(LOG_INFO, "stopping");
  const bool all_returned = dispatcher.Stop();
  host.Stop();
  syslog(LOG_INFO, "stopped");
  if (all_returned) return;
  // A method waits in the library, for up to its ten seconds. It holds nothing that outlives the process.
  pid_file.Remove();
  listener.Release();
  _exit(EXIT_SUCCESS);
}

int Main(int argc, char** argv) {
  int status = EXIT_SUCCESS;
  const std::optional<Options> options = ParseOptions(argc, argv, status);
  if (!options) return status;
  OpenLog(*options);
  // Before there is a thread or a client that reads it.
  if (!options->modem.empty()) setenv("KWWAN_MODEM", options->modem.c_str(), 1);
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
  try {
    return kor::host::Main(argc, argv);
  } catch (...) {  // Of the command line's reading: no memory, no current folder.
    return EXIT_FAILURE;
  }
}
