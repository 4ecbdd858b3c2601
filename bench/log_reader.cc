// SPDX-License-Identifier: Apache-2.0
#include "log_reader.h"

#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kor::bench {

namespace {

constexpr char kPath[] = "/dev/log";

[[noreturn]] void Read(int fd) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  cpu_set_t all;
  memset(&all, 0xff, sizeof(all));
  sched_setaffinity(0, sizeof(all), &all);
  char line[8192];
  while (recv(fd, line, sizeof(line), 0) >= 0) {
  }
  _exit(1);
}

}  // namespace

LogReader::LogReader() {
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  memcpy(address.sun_path, kPath, sizeof(kPath));
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    perror(kPath);
    exit(1);
  }
  reader_ = fork();
  if (reader_ == 0) Read(fd);
  close(fd);
}

LogReader::~LogReader() {
  kill(reader_, SIGKILL);
  waitpid(reader_, nullptr, 0);
  unlink(kPath);
  closelog();
}

}  // namespace kor::bench
