// SPDX-License-Identifier: Apache-2.0
#include "kutil/interface_addresses.h"

#include <arpa/inet.h>
#include <linux/rtnetlink.h>

#include <utility>

#include "common/addresses.h"
#include "kutil/route_request.h"

namespace kor::util {

namespace {

constexpr int kHostPrefix = 32;
constexpr int kLastPrefixWithBroadcast = 30;

// What the kernel has of addresses of one family at the interface; nothing when it did not tell all.
std::optional<std::vector<RouteMessage>> Read(int index, unsigned char family) {
  std::vector<RouteMessage> of_all;
  if (!Dump(RTM_GETADDR, family, of_all)) return std::nullopt;
  std::vector<RouteMessage> found;
  for (RouteMessage& message : of_all) {
    if (message.kind == RouteMessage::Kind::kAddress && message.index == index) found.push_back(std::move(message));
  }
  return found;
}

}  // namespace

std::optional<std::vector<Ipv4Address>> ReadIpv4Addresses(int index) {
  const auto found = Read(index, AF_INET);
  if (!found) return std::nullopt;
  std::vector<Ipv4Address> addresses;
  for (const RouteMessage& message : *found) addresses.push_back(message.ipv4);
  return addresses;
}

std::optional<std::string> ReadIpv6Address(int index) {
  const auto found = Read(index, AF_INET6);
  char text[INET6_ADDRSTRLEN] = {};
  // The kernel lists them with the widest scope first.
  if (!found || found->empty()) return std::nullopt;
  if (inet_ntop(AF_INET6, &found->front().ipv6, text, sizeof(text)) == nullptr) return std::nullopt;
  return text;
}

bool SetOnlyIpv4Address(int index, Ipv4Address wanted) {
  const auto old = ReadIpv4Addresses(index);
  if (!old) return false;
  if (*old == std::vector{wanted}) return true;
  if (wanted.broadcast != 0) {
    wanted.broadcast = wanted.prefix <= kLastPrefixWithBroadcast ? wanted.peer | ~NetmaskOf(wanted.prefix) : 0;
  }

  // First alone: within the subnet of an old address it would be that one's secondary, and go with it.
  Ipv4Address alone = wanted;
  alone.peer = wanted.local;
  alone.prefix = kHostPrefix;
  alone.broadcast = 0;
  if (!ChangeAddress(RTM_NEWADDR, index, alone)) return false;
  for (const Ipv4Address& address : *old) {
    if (!(address == alone)) (void)ChangeAddress(RTM_DELADDR, index, address);  // Or it is gone by itself.
  }
  if (!(wanted == alone) && ChangeAddress(RTM_NEWADDR, index, wanted)) {
    (void)ChangeAddress(RTM_DELADDR, index, alone);
  }
  return ReadIpv4Addresses(index) == std::vector{wanted};
}

}  // namespace kor::util
