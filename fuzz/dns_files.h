// SPDX-License-Identifier: Apache-2.0
// What the fuzzers of the DNS service's files share: the files, which the sandbox makes private, and a shell that only
// looks at what it is to run.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <vector>

#include "common/dns_paths.h"
#include "dns/dns_ctrl_service.h"
#include "require.h"
#include "support/scripted_vendor.h"

namespace kor::fuzz {

using kor::wwan::DnsCtrlService;

inline std::vector<std::string> g_commands;  // What the shell was asked to run, oldest first.

inline void Write(const char* path, const uint8_t* bytes, size_t size) {
  const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  Require(fd >= 0 && write(fd, bytes, size) == static_cast<ssize_t>(size), path);
  close(fd);
}

inline std::string Read(const char* path) {
  char buffer[65536];
  const int fd = open(path, O_RDONLY | O_CLOEXEC);
  Require(fd >= 0, path);
  const ssize_t size = read(fd, buffer, sizeof(buffer));
  close(fd);
  return {buffer, static_cast<size_t>(size)};
}

// The bytes as C has texts: up to the first NUL.
inline std::string CText(const uint8_t* bytes, size_t size) {
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  return text.substr(0, text.find('\0'));
}

}  // namespace kor::fuzz

extern "C" int system(const char* command) {
  kor::fuzz::g_commands.emplace_back(command);
  return 0;
}

// The pause for a killed process, which here lives on.
extern "C" int nanosleep(const timespec* /*pause*/, timespec* /*left*/) { return 0; }

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  kor::fuzz::Require(getenv("KWWAN_SANDBOX") != nullptr, "runs in the sandbox: script/fuzz");
  setlogmask(LOG_MASK(LOG_EMERG));
  mkdir(kor::wwan::kDnsmasqDir, 0755);
  return 0;
}
