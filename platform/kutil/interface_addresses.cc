// SPDX-License-Identifier: Apache-2.0
// Addresses of an interface: read by getifaddrs(3), changed by rtnetlink(7).
#include "kutil/interface_addresses.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>

#include "kutil/address_rules.h"

namespace kor::util {

namespace {

constexpr int kHostPrefix = 32;

using AddressList = std::unique_ptr<ifaddrs, decltype(&freeifaddrs)>;

AddressList ReadAll() {
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) list = nullptr;
  return {list, freeifaddrs};
}

// An IPv4 address may carry a label, "rmnet_data0:1", in the place of the interface's name.
bool BelongsTo(const std::string& ifname, const ifaddrs& entry, int family) {
  if (entry.ifa_addr == nullptr || entry.ifa_addr->sa_family != family) return false;
  const std::string label = entry.ifa_name;
  return label.substr(0, label.find(':')) == ifname;
}

uint32_t Ipv4Of(const sockaddr* address) {
  return ntohl(reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr);
}

Ipv4Address Ipv4Entry(const ifaddrs& entry) {
  Ipv4Address address;
  address.local = Ipv4Of(entry.ifa_addr);
  const bool has_peer = (entry.ifa_flags & IFF_POINTOPOINT) != 0 && entry.ifa_dstaddr != nullptr;
  address.peer = has_peer ? Ipv4Of(entry.ifa_dstaddr) : address.local;
  address.prefix = PrefixLength(Ipv4Of(entry.ifa_netmask)).value_or(kHostPrefix);
  return address;
}

struct Attribute {
  rtattr header;
  uint32_t value;
};

struct AddressRequest {
  nlmsghdr header;
  ifaddrmsg message;
  Attribute local;
  Attribute peer;
};

struct Acknowledgement {
  nlmsghdr header;
  nlmsgerr error;
};

Attribute MakeAttribute(unsigned short type, uint32_t address) { return {{sizeof(Attribute), type}, htonl(address)}; }

// Asks the kernel to add (RTM_NEWADDR) or remove (RTM_DELADDR) an address, and waits for its word.
bool Change(uint16_t type, unsigned int index, const Ipv4Address& address) {
  AddressRequest request{};
  request.header.nlmsg_len = sizeof(request);
  request.header.nlmsg_type = type;
  request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_ACK | NLM_F_CREATE | NLM_F_REPLACE;
  request.message.ifa_family = AF_INET;
  request.message.ifa_prefixlen = static_cast<uint8_t>(address.prefix);
  request.message.ifa_index = index;
  request.local = MakeAttribute(IFA_LOCAL, address.local);
  request.peer = MakeAttribute(IFA_ADDRESS, address.peer);

  const int fd = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
  if (fd < 0) return false;
  Acknowledgement answer{};
  const bool answered = send(fd, &request, sizeof(request), 0) == static_cast<ssize_t>(sizeof(request)) &&
                        recv(fd, &answer, sizeof(answer), 0) == static_cast<ssize_t>(sizeof(answer));
  close(fd);
  return answered && answer.header.nlmsg_type == NLMSG_ERROR && answer.error.error == 0;
}

}  // namespace

std::vector<Ipv4Address> ReadIpv4Addresses(const std::string& ifname) {
  const AddressList all = ReadAll();
  std::vector<Ipv4Address> addresses;
  for (const ifaddrs* entry = all.get(); entry != nullptr; entry = entry->ifa_next) {
    if (BelongsTo(ifname, *entry, AF_INET)) addresses.push_back(Ipv4Entry(*entry));
  }
  return addresses;
}

std::optional<std::string> ReadIpv6Address(const std::string& ifname) {
  const AddressList all = ReadAll();
  const in6_addr* best = nullptr;
  for (const ifaddrs* entry = all.get(); entry != nullptr; entry = entry->ifa_next) {
    if (!BelongsTo(ifname, *entry, AF_INET6)) continue;
    const in6_addr* address = &reinterpret_cast<const sockaddr_in6*>(entry->ifa_addr)->sin6_addr;
    if (best == nullptr || (IN6_IS_ADDR_LINKLOCAL(best) && !IN6_IS_ADDR_LINKLOCAL(address))) best = address;
  }
  char text[INET6_ADDRSTRLEN] = {};
  if (best == nullptr || inet_ntop(AF_INET6, best, text, sizeof(text)) == nullptr) return std::nullopt;
  return text;
}

bool SetOnlyIpv4Address(const std::string& ifname, uint32_t local, int prefix) {
  const Ipv4Address wanted{local, local, prefix};
  const std::vector<Ipv4Address> old = ReadIpv4Addresses(ifname);
  if (old == std::vector<Ipv4Address>{wanted}) return true;
  const unsigned int index = if_nametoindex(ifname.c_str());
  if (index == 0) return false;

  // First alone: within the subnet of an old address it would be that one's secondary, and go with it.
  const Ipv4Address alone{local, local, kHostPrefix};
  if (!Change(RTM_NEWADDR, index, alone)) return false;
  for (const Ipv4Address& address : old) {
    if (!(address == alone)) (void)Change(RTM_DELADDR, index, address);  // Or it is gone by itself.
  }
  if (prefix == kHostPrefix) return true;
  return Change(RTM_NEWADDR, index, wanted) && Change(RTM_DELADDR, index, alone);
}

}  // namespace kor::util
