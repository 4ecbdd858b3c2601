// SPDX-License-Identifier: Apache-2.0
#include "kwwand/host/stop_signals.h"

#include <fcntl.h>
#include <signal.h>
#include <time.h>

#include <cstdlib>

namespace kor::host {

namespace {

// A request of the moment has half a second, a refresh that runs up to three while a call is not ready, a killed
// dnsmasq one: a host that is ended before leaves that dnsmasq to nobody.
constexpr timespec kPatience{4, 800'000'000};

// Of the process, for the handlers; set once, before they are in place.
int g_write_end = -1;
timer_t g_watchdog;

void OnStop(int) {
  const int saved = errno;
  const itimerspec once{{0, 0}, kPatience};
  itimerspec now{};
  const bool armed = timer_gettime(g_watchdog, &now) == 0 && (now.it_value.tv_sec != 0 || now.it_value.tv_nsec != 0);
  if (!armed) timer_settime(g_watchdog, 0, &once, nullptr);  // A second signal buys no time.
  [[maybe_unused]] const ssize_t n = write(g_write_end, "", 1);
  errno = saved;
}

void OnPatienceOver(int) { _exit(EXIT_FAILURE); }

void OnBrokenPipe(int) {}

void Catch(int signal_number, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  if (sigaction(signal_number, &action, nullptr) != 0) throw kor::tools::SystemError("sigaction");
}

}  // namespace

StopSignals::StopSignals() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) throw kor::tools::SystemError("pipe");
  read_end_ = Fd(ends[0]);
  g_write_end = ends[1];
  sigevent alarm{};
  alarm.sigev_notify = SIGEV_SIGNAL;
  alarm.sigev_signo = SIGALRM;
  if (timer_create(CLOCK_MONOTONIC, &alarm, &g_watchdog) != 0) throw kor::tools::SystemError("timer");
  Catch(SIGALRM, OnPatienceOver);
  Catch(SIGPIPE, OnBrokenPipe);
  for (const int stop : {SIGTERM, SIGINT, SIGHUP}) Catch(stop, OnStop);
}

}  // namespace kor::host
