// SPDX-License-Identifier: Apache-2.0
// The dnsmasq process: started and killed through the shell, known by its pid file alone.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "common/log.h"
#include "dns/dns_ctrl_service.h"
#include "dns/paths.h"

namespace kor::wwan {

namespace {

constexpr int kReadFlags = O_RDONLY | O_NONBLOCK | O_CLOEXEC;  // A pipe in the file's place holds nobody up.
constexpr size_t kPidTextSize = 1024;                          // What is read of the pid file to look for the process,
constexpr size_t kPidLineSize = 256;                           // and to kill it.
constexpr int kGonePolls = 200;  // A killed process is gone within a second, or is not waited for any longer.
constexpr timespec kGonePollPause{0, 5'000'000};

std::string ProcPath(long pid) { return "/proc/" + std::to_string(pid); }

// The first bytes of a file, for a buffer of zeros; false when it cannot be read.
bool ReadStart(const char* path, char* text, size_t size) {
  const int fd = open(path, kReadFlags);
  if (fd < 0) return false;
  const ssize_t n = read(fd, text, size);
  close(fd);
  return n >= 0;
}

// Whether it still has its sockets. What has ended and waits for its parent to look after it ("12 (name) Z ...") has
// none.
bool IsThere(const std::string& stat_path) {
  char text[kPidLineSize] = {};
  if (!ReadStart(stat_path.c_str(), text, sizeof(text) - 1)) return false;
  const char* const name_end = strrchr(text, ')');
  return name_end != nullptr && strncmp(name_end, ") Z", 3) != 0;
}

// So that the next start can bind the address. A machine that is far too busy takes its time to let a process die.
void WaitUntilGone(long pid) {
  const std::string path = ProcPath(pid) + "/stat";
  for (int i = 0; i < kGonePolls && IsThere(path); ++i) nanosleep(&kGonePollPause, nullptr);
}

}  // namespace

bool DnsCtrlService::StartDnsmasq() {
  mkdir(kDnsmasqDir, kDnsmasqDirMode);
  std::string cmd = "dnsmasq -r ";
  cmd += kDnsmasqResolvPath;  // Upstream servers.
  cmd += " --pid-file=";
  cmd += kDnsmasqPidPath;
  cmd += " --listen-address 127.0.0.1 --bind-dynamic";  // Loopback only.
  cmd += " --leasefile-ro";                             // No DHCP leases on disk.
  KOR_LOG(LOG_INFO, "cmd %s\n", cmd.c_str());
  return system(cmd.c_str()) == 0;
}

bool DnsCtrlService::IsDnsmasqAlive() {
  char text[kPidTextSize + 1] = {};
  if (!ReadStart(kDnsmasqPidPath, text, kPidTextSize)) return false;
  const long pid = strtol(text, nullptr, 10);
  return pid >= 1 && access(ProcPath(pid).c_str(), X_OK) == 0;
}

bool DnsCtrlService::KillDnsmasq() {
  constexpr char kStop[] = "bool kor::wwan::DnsCtrlService::Stop()";  // The operation that the log speaks of.
  const int fd = open(kDnsmasqPidPath, kReadFlags);
  FILE* file = fd < 0 ? nullptr : fdopen(fd, "r");
  if (file == nullptr) {
    KOR_LOG_AS(kStop, LOG_ERR, "There is no dnsmasq pid file on %s\n", kDnsmasqPidPath);
    return true;
  }
  char line[kPidLineSize] = {};
  const bool has_line = fgets(line, sizeof(line), file) != nullptr;
  fclose(file);
  if (!has_line) {
    KOR_LOG_AS(kStop, LOG_ERR, "Cannot read data from %s\n", kDnsmasqPidPath);
    return false;
  }
  const long pid = strtol(line, nullptr, 10);
  if (pid < 1) {
    KOR_LOG_AS(kStop, LOG_ERR, "dnsmasq pid has wrong value %s\n", line);
    return false;
  }
  const std::string cmd = "kill -9 " + std::to_string(pid);
  KOR_LOG_AS(kStop, LOG_DEBUG, "Try to kill dnsmasq with cmd [%s] and remove file %s\n", cmd.c_str(), kDnsmasqPidPath);
  [[maybe_unused]] const int status = system(cmd.c_str());  // A process that is gone already is as good.
  WaitUntilGone(pid);
  KOR_LOG_AS(kStop, LOG_DEBUG, "after kill dnsmasq with cmd [%s] and remove file %s\n", cmd.c_str(), kDnsmasqPidPath);
  unlink(kDnsmasqPidPath);
  return true;
}

}  // namespace kor::wwan
