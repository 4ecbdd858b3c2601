// SPDX-License-Identifier: Apache-2.0
// What the DNS service's files say. Their paths are fixed by the library, which has no operation that tells them.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace kor::host {

// The forwarder's process; nothing when the pid file names none that lives and is dnsmasq.
std::optional<pid_t> ForwarderPid();

// The servers in its list.
std::vector<std::string> ForwarderServers();

// Whether an operator's permanent file is used in place of the calls' servers.
bool PermanentFileIsUsed();

// Whether the system's resolver asks the forwarder, and was told so by the library.
bool ResolvConfIsOurs();

// The addresses in the "nameserver" lines of a text, in order.
std::vector<std::string> NameServers(const std::string& text);

}  // namespace kor::host
