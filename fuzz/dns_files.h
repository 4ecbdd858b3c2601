// SPDX-License-Identifier: Apache-2.0
// What the fuzzers of the DNS service's files share: the files, which the sandbox makes private, and a shell that only
// looks at what it is to run.
#pragma once

#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <vector>

#include "common/dns_paths.h"
#include "dns/dns_ctrl_service.h"
#include "require.h"
#include "support/files.h"
#include "support/scripted_vendor.h"

namespace kor::fuzz {

using kor::wwan::DnsCtrlService;

inline std::vector<std::string> g_commands;  // What the shell was asked to run, oldest first.

inline std::string TextOf(const uint8_t* bytes, size_t size) { return {reinterpret_cast<const char*>(bytes), size}; }

// As C has texts: up to the first NUL.
inline std::string CText(const std::string& text) { return text.substr(0, text.find('\0')); }

}  // namespace kor::fuzz

// A kill fails: the process lives on here, and after one that succeeded its end would be waited for.
extern "C" int system(const char* command) {
  kor::fuzz::g_commands.emplace_back(command);
  return kor::fuzz::g_commands.back().rfind("kill ", 0) == 0 ? 1 : 0;
}

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  kor::fuzz::Require(getenv("KWWAN_SANDBOX") != nullptr, "runs in the sandbox: script/fuzz");
  setlogmask(LOG_MASK(LOG_EMERG));
  mkdir(kor::wwan::kDnsmasqDir, 0755);
  return 0;
}
