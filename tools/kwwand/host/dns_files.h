// SPDX-License-Identifier: Apache-2.0
// What the DNS service's files say now.
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

}  // namespace kor::host
