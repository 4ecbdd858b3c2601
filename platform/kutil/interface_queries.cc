// SPDX-License-Identifier: Apache-2.0
// Questions and orders about one interface.
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <map>

#include "common/util/network_manager.h"
#include "kutil/address_rules.h"
#include "kutil/interface_addresses.h"
#include "kutil/route_socket.h"

namespace kor::util {

namespace {

constexpr int kHostPrefix = 32;

uint32_t NetmaskOf(int prefix) { return prefix == 0 ? 0 : ~uint32_t{0} << (32 - prefix); }

// A longer name is no interface's; cut short it would be another's.
bool IsInterfaceName(const std::string& name) {
  return !name.empty() && name.size() < IFNAMSIZ && name.find('\0') == std::string::npos;
}

}  // namespace

std::vector<std::string> NetworkManager::GetIfNames() {
  std::map<int, std::string> links;
  (void)ReadLinks(links);  // On failure: what the kernel told until then.
  std::vector<std::string> names;
  for (const auto& link : links) names.push_back(link.second);
  return names;
}

bool NetworkManager::IsUpState(std::string ifname) {
  if (!IsInterfaceName(ifname)) return false;
  ifreq request{};
  ifname.copy(request.ifr_name, IFNAMSIZ - 1);
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return false;
  const bool known = ioctl(fd, SIOCGIFFLAGS, &request) == 0;
  close(fd);
  return known && (request.ifr_flags & IFF_UP) != 0;
}

bool NetworkManager::GetIpAddress(std::string ifname, std::string& address, bool ipv6) {
  if (ipv6) {
    const std::optional<std::string> text = ReadIpv6Address(ifname);
    if (text.has_value()) address = *text;
    return text.has_value();
  }
  const std::vector<Ipv4Address> addresses = ReadIpv4Addresses(ifname);
  if (addresses.empty()) return false;
  address = FormatIpv4(addresses.front().local);
  return true;
}

bool NetworkManager::SetIpAddress(std::string ifname, std::string address) {
  const std::optional<uint32_t> local = ParseIpv4(address);
  if (!IsInterfaceName(ifname) || !local.has_value() || !IsHostAddress(*local)) return false;
  const std::vector<Ipv4Address> old = ReadIpv4Addresses(ifname);
  return SetOnlyIpv4Address(ifname, *local, old.empty() ? kHostPrefix : old.front().prefix);
}

bool NetworkManager::GetSubnetMask(std::string ifname, std::string& mask) {
  const std::vector<Ipv4Address> addresses = ReadIpv4Addresses(ifname);
  if (addresses.empty()) return false;
  mask = FormatIpv4(NetmaskOf(addresses.front().prefix));
  return true;
}

bool NetworkManager::SetSubnetMask(std::string ifname, std::string mask) {
  const std::optional<uint32_t> value = ParseIpv4(mask);
  const int prefix = value.has_value() ? PrefixLength(*value).value_or(0) : 0;
  const std::vector<Ipv4Address> old = ReadIpv4Addresses(ifname);
  return prefix != 0 && !old.empty() && SetOnlyIpv4Address(ifname, old.front().local, prefix);
}

}  // namespace kor::util
