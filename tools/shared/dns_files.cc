// SPDX-License-Identifier: Apache-2.0
#include "shared/dns_files.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <sstream>

#include "common/dns_paths.h"
#include "shared/fd.h"

namespace kor::tools {

namespace {

constexpr size_t kMostRead = 65536;
constexpr size_t kShortestPermanentText = 4;  // One of so many characters or fewer does not count.

// Empty when it cannot be read.
std::string ReadText(const std::string& path) { return ReadTextFile(path).text.value_or(""); }

}  // namespace

TextFile ReadTextFile(const std::string& path) {
  TextFile file;
  const Fd fd(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  std::string text;
  char buffer[4096];
  ssize_t n = fd.is_open() ? 1 : -1;
  while (n > 0 && text.size() < kMostRead) {
    n = read(fd.get(), buffer, std::min(sizeof(buffer), kMostRead - text.size()));
    if (n > 0) text.append(buffer, static_cast<size_t>(n));
  }
  if (n < 0) file.error = errno;
  if (n >= 0 || !text.empty()) file = {text, 0};
  return file;
}

std::vector<std::string> ServersIn(const std::string& text) {
  std::vector<std::string> servers;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string key;
    std::string address;
    if (words >> key >> address && key == "nameserver") servers.push_back(address);
  }
  return servers;
}

std::string UsedPermanentText(const std::string& text) {
  const std::string used = text.substr(0, text.find('\0'));
  return used.size() > kShortestPermanentText ? used : "";
}

std::optional<pid_t> ForwarderPid() {
  const std::string text = ReadText(kor::wwan::kDnsmasqPidPath);
  pid_t pid = 0;
  std::from_chars(text.data(), text.data() + text.size(), pid);
  if (pid <= 0 || ReadText("/proc/" + std::to_string(pid) + "/comm") != "dnsmasq\n") return std::nullopt;
  return pid;
}

std::vector<std::string> ForwarderServers() { return ServersIn(ReadText(kor::wwan::kDnsmasqResolvPath)); }

bool PermanentFileIsUsed() { return !UsedPermanentText(ReadText(kor::wwan::kPermanentDnsPath)).empty(); }

bool ResolvConfIsOurs() { return ReadText(kor::wwan::kResolvConfPath) == kor::wwan::kResolvConfText; }

}  // namespace kor::tools
