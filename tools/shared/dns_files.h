// SPDX-License-Identifier: Apache-2.0
// The DNS service's files and what their texts mean. They are fixed by the library, which has no operation that tells
// them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "common/dns_paths.h"

namespace kor::tools {

inline constexpr auto& kResolvConf = kor::wwan::kResolvConfPath;
inline constexpr auto& kResolvConfText = kor::wwan::kResolvConfText;
inline constexpr auto& kPermanentFile = kor::wwan::kPermanentDnsPath;
inline constexpr auto& kServerList = kor::wwan::kDnsmasqResolvPath;
inline constexpr auto& kPidFile = kor::wwan::kDnsmasqPidPath;

struct TextFile {
  std::optional<std::string> text;  // Empty iff it could not be read.
  int error = 0;                    // Why not, as errno has it.
};

// The text of a file, at most its first 64 KiB: none of these is longer when all is well. A pipe in its place holds
// nobody up.
TextFile ReadTextFile(const std::string& path);

// The addresses in the "nameserver" lines of a text, in order.
std::vector<std::string> ServersIn(const std::string& text);

// What of the permanent file's text is used in place of the calls' servers; empty when it is taken for none.
std::string UsedPermanentText(const std::string& text);

}  // namespace kor::tools
