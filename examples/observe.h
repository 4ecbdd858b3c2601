// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

namespace kor::demo {

// The demo's eyes: what the kernel, the files and the resolver say, asked past the library.

// The text of a file; empty when it cannot be read.
std::string ReadFile(const std::string& path);

bool IsAlive(pid_t pid);

// The process id in a pid file when that process lives, or 0.
pid_t LiveProcess(const std::string& pid_path);

// "rmnet_data0 10.64.0.2": the first data interface with an address of the family (AF_INET, or AF_INET6 of global
// scope); empty when there is none.
std::string DataInterface(int family);

// Whether an interface of that kind is there at all.
bool HasDataInterface();

// The address of `name` as getaddrinfo finds it, or the resolver's message in brackets.
std::string LookUp(const std::string& name, int family);

// Waits, at most some seconds, for a state that nobody announces. False when it does not come about.
bool Eventually(const std::function<bool()>& condition);

}  // namespace kor::demo
