// SPDX-License-Identifier: Apache-2.0
// What the DNS service's files (common/dns_paths.h) say; the library has no operation that tells it.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace kor::tools {

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

// The forwarder's process; nothing when the pid file names none that lives and is dnsmasq.
std::optional<pid_t> ForwarderPid();

// The servers in its list as it stands.
std::vector<std::string> ForwarderServers();

// Whether an operator's permanent file is used in place of the calls' servers.
bool PermanentFileIsUsed();

// Whether the system's resolver asks the forwarder, and was told so by the library.
bool ResolvConfIsOurs();

}  // namespace kor::tools
