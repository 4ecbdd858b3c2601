// SPDX-License-Identifier: Apache-2.0
// The dnsmasq process: started and killed through the shell, known by its pid file alone.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "common/dns_paths.h"
#include "common/log.h"
#include "dns/dns_ctrl_service.h"

namespace kor::wwan {

namespace {

constexpr int kReadFlags = O_RDONLY | O_NONBLOCK | O_CLOEXEC;  // A pipe in the file's place holds nobody up.
constexpr size_t kPidTextSize = 1024;                          // What is read of the pid file to look for the process,
constexpr size_t kPidLineSize = 256;                           // and to kill it.
constexpr size_t kShortTextSize = 64;                          // Room for a command or a path with a process id.
constexpr std::chrono::seconds kGoneWait{1};                   // A killed process is not waited for any longer.
constexpr timespec kGonePollPause{0, 5'000'000};

// Reads the first bytes of a file into a buffer of zeros, and closes it: how many, or -1 when it cannot be read.
ssize_t ReadStart(int fd, char* text, size_t size) {
  const ssize_t n = read(fd, text, size);
  close(fd);
  return n;
}

// Whether a process still has its sockets. One that has ended and waits for its parent to look after it ("12 (name) Z
// ...") has none.
bool IsThere(const char* stat_path) {
  char text[kPidLineSize] = {};
  const int fd = open(stat_path, kReadFlags);
  if (fd < 0 || ReadStart(fd, text, sizeof(text) - 1) < 0) return false;
  const char* const name_end = strrchr(text, ')');
  return name_end != nullptr && strncmp(name_end, ") Z", 3) != 0;
}

// So that the next start can bind the address. By the clock: on a busy machine the pauses are longer than asked for.
void WaitUntilGone(long pid) {
  char path[kShortTextSize];
  snprintf(path, sizeof(path), "/proc/%ld/stat", pid);
  const auto end = std::chrono::steady_clock::now() + kGoneWait;
  while (IsThere(path) && std::chrono::steady_clock::now() < end) nanosleep(&kGonePollPause, nullptr);
}

}  // namespace

// Through the shell, so that the log has the very line that can be typed by hand. No text from outside gets into it.
bool DnsCtrlService::StartDnsmasq() {
  mkdir(kDnsmasqDir, kDnsmasqDirMode);
  std::string cmd = "dnsmasq -r ";
  cmd += kDnsmasqResolvPath;  // Upstream servers.
  cmd += " --pid-file=";
  cmd += kDnsmasqPidPath;
  cmd += " --listen-address 127.0.0.1 --bind-dynamic";  // Loopback only.
  cmd += " --leasefile-ro";                             // No DHCP leases on disk.
  KOR_LOG(LOG_INFO, "cmd %s\n", cmd.c_str());
  return system(cmd.c_str()) == 0;  // NOLINT(cert-env33-c): fixed text.
}

bool DnsCtrlService::IsDnsmasqAlive() {
  char text[kPidTextSize + 1] = {};
  const int fd = open(kDnsmasqPidPath, kReadFlags);
  if (fd < 0 || ReadStart(fd, text, kPidTextSize) < 0) return false;
  const long pid = strtol(text, nullptr, 10);
  if (pid < 1) return false;
  // Whatever program it is: the pid file is all that is left of dnsmasq after a restart of the host, and a device may
  // run it under another name.
  char path[kShortTextSize];
  snprintf(path, sizeof(path), "/proc/%ld", pid);
  return access(path, X_OK) == 0;
}

// Allocates nothing: a destructor stops, too, and a forwarder that nobody kills keeps the address from the next one.
bool DnsCtrlService::KillDnsmasq() {
  constexpr char kStop[] = "bool kor::wwan::DnsCtrlService::Stop()";  // The operation that the log speaks of.
  const int fd = open(kDnsmasqPidPath, kReadFlags);
  if (fd < 0) {
    KOR_LOG_AS(kStop, LOG_ERR, "There is no dnsmasq pid file on %s\n", kDnsmasqPidPath);
    return true;
  }
  char line[kPidLineSize] = {};
  if (ReadStart(fd, line, sizeof(line) - 1) <= 0) {
    KOR_LOG_AS(kStop, LOG_ERR, "Cannot read data from %s\n", kDnsmasqPidPath);
    return false;
  }
  if (char* const line_end = strchr(line, '\n')) line_end[1] = '\0';
  const long pid = strtol(line, nullptr, 10);
  if (pid < 1) {
    KOR_LOG_AS(kStop, LOG_ERR, "dnsmasq pid has wrong value %s\n", line);
    return false;
  }
  // Not politely: the stop is over when this returns, and dnsmasq keeps nothing on disk that it would have to write.
  char cmd[kShortTextSize];
  snprintf(cmd, sizeof(cmd), "kill -9 %ld", pid);
  KOR_LOG_AS(kStop, LOG_DEBUG, "Try to kill dnsmasq with cmd [%s] and remove file %s\n", cmd, kDnsmasqPidPath);
  // NOLINTNEXTLINE(cert-env33-c): fixed text and a number.
  if (system(cmd) == 0) WaitUntilGone(pid);  // A process that is gone already is as good.
  KOR_LOG_AS(kStop, LOG_DEBUG, "after kill dnsmasq with cmd [%s] and remove file %s\n", cmd, kDnsmasqPidPath);
  unlink(kDnsmasqPidPath);
  return true;
}

}  // namespace kor::wwan
