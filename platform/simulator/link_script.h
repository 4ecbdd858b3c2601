// SPDX-License-Identifier: Apache-2.0
// The texts that `ip -batch` is given for the link of a call, and the names and addresses on it. Pure text.
#pragma once

#include <string>

#include "common/ip_family.h"

namespace kor::modem {

constexpr int kMaxLinks = 256;  // Link numbers are one part of an IPv4 address.
constexpr int kLinkMtu = 1500;  // A veth pair's.

std::string DeviceName(int number);   // Our end: "rmnet_data0".
std::string NetworkName(int number);  // The network's end: "carrier0".

int PrefixLength(kor::util::IPFamily family);

// The addresses of the two ends, without the prefix length.
std::string DeviceAddress(int number, kor::util::IPFamily family);
std::string NetworkAddress(int number, kor::util::IPFamily family);

// Makes the pair and sets our end up. `carrier`: path of the network namespace of the far end; empty: our own.
// `leftover`: an old pair of that name is removed first.
std::string CreateLinkText(int number, const std::string& carrier, bool leftover);

// Gives our end the address of one family and the default route through the far end; takes both away.
std::string DeviceUpText(int number, kor::util::IPFamily family);
std::string DeviceDownText(int number, kor::util::IPFamily family);

// The same for the far end, which is set up too and has no route.
std::string NetworkUpText(int number, kor::util::IPFamily family);
std::string NetworkDownText(int number, kor::util::IPFamily family);

// Removes the pair with all that is on it.
std::string RemoveLinkText(int number);

}  // namespace kor::modem
