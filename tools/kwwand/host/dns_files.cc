// SPDX-License-Identifier: Apache-2.0
#include "kwwand/host/dns_files.h"

#include <charconv>

#include "shared/dns_files.h"

namespace kor::host {

namespace {

// Empty when it cannot be read.
std::string ReadText(const std::string& path) { return kor::tools::ReadTextFile(path).text.value_or(""); }

}  // namespace

std::optional<pid_t> ForwarderPid() {
  const std::string text = ReadText(kor::tools::kPidFile);
  pid_t pid = 0;
  std::from_chars(text.data(), text.data() + text.size(), pid);
  if (pid <= 0 || ReadText("/proc/" + std::to_string(pid) + "/comm") != "dnsmasq\n") return std::nullopt;
  return pid;
}

std::vector<std::string> ForwarderServers() { return kor::tools::ServersIn(ReadText(kor::tools::kServerList)); }

bool PermanentFileIsUsed() { return !kor::tools::UsedPermanentText(ReadText(kor::tools::kPermanentFile)).empty(); }

bool ResolvConfIsOurs() { return ReadText(kor::tools::kResolvConf) == kor::tools::kResolvConfText; }

}  // namespace kor::host
