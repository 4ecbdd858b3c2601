// SPDX-License-Identifier: Apache-2.0
#include "kwwand/methods/dns_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <charconv>
#include <sstream>

namespace kor::host {

namespace {

constexpr char kResolvConf[] = "/etc/resolv.conf";
constexpr char kPermanentFile[] = "/data/permanent-dns.conf";
constexpr char kServerList[] = "/var/run/netctld-dnsmasq/dnsmasq_resolv.conf";
constexpr char kPidFile[] = "/var/run/netctld-dnsmasq/dnsmasq.pid";
constexpr char kResolvConfText[] = "#AUTOMATICALLY EDITED BY NETCTLD\nnameserver 127.0.0.1\n";
constexpr size_t kShortestPermanentText = 4;  // The library takes a file of so many characters or fewer for none.
constexpr size_t kMostRead = 65536;           // Of a file: none of these is longer when all is well.

// The text of a file, empty when it cannot be read. A pipe in its place holds nobody up.
std::string ReadText(const std::string& path) {
  std::string text;
  const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return text;
  char buffer[4096];
  for (ssize_t n = 0; text.size() < kMostRead && (n = read(fd, buffer, sizeof(buffer))) > 0;) {
    text.append(buffer, static_cast<size_t>(n));
  }
  close(fd);
  return text;
}

}  // namespace

std::optional<pid_t> ForwarderPid() {
  const std::string text = ReadText(kPidFile);
  pid_t pid = 0;
  std::from_chars(text.data(), text.data() + text.size(), pid);
  if (pid <= 0 || ReadText("/proc/" + std::to_string(pid) + "/comm") != "dnsmasq\n") return std::nullopt;
  return pid;
}

std::vector<std::string> ForwarderServers() { return NameServers(ReadText(kServerList)); }

bool PermanentFileIsUsed() {
  const std::string text = ReadText(kPermanentFile);
  return text.substr(0, text.find('\0')).size() > kShortestPermanentText;
}

bool ResolvConfIsOurs() { return ReadText(kResolvConf) == kResolvConfText; }

std::vector<std::string> NameServers(const std::string& text) {
  std::vector<std::string> servers;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string word;
    std::string address;
    if (words >> word >> address && word == "nameserver") servers.push_back(address);
  }
  return servers;
}

}  // namespace kor::host
