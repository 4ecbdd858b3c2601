// SPDX-License-Identifier: Apache-2.0
#include "shared/dns_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <sstream>

namespace kor::tools {

namespace {

constexpr size_t kMostRead = 65536;
constexpr size_t kShortestPermanentText = 4;  // One of so many characters or fewer is none.

}  // namespace

TextFile ReadTextFile(const std::string& path) {
  TextFile file;
  const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  std::string text;
  char buffer[4096];
  ssize_t n = fd < 0 ? -1 : 1;
  while (n > 0 && text.size() < kMostRead) {
    n = read(fd, buffer, std::min(sizeof(buffer), kMostRead - text.size()));
    if (n > 0) text.append(buffer, static_cast<size_t>(n));
  }
  if (n < 0) file.error = errno;
  if (fd >= 0) close(fd);
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

}  // namespace kor::tools
