// SPDX-License-Identifier: Apache-2.0
#include "kutil/route_message.h"

#include <linux/if_addr.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>

namespace kor::util {

namespace {

// Takes a header and the padding behind it off the front; bytes need not be aligned.
template <typename Header>
bool TakeHeader(std::string_view& bytes, Header& header) {
  if (bytes.size() < sizeof(header)) return false;
  memcpy(&header, bytes.data(), sizeof(header));
  bytes.remove_prefix(std::min<size_t>(NLMSG_ALIGN(sizeof(header)), bytes.size()));
  return true;
}

// Splits off what a header announced, `length` counting the header itself; false when that is impossible.
bool TakePayload(std::string_view& bytes, size_t length, size_t header_size, std::string_view& payload) {
  if (length < header_size || length - header_size > bytes.size()) return false;
  const size_t size = length - header_size;
  payload = bytes.substr(0, size);
  bytes.remove_prefix(std::min<size_t>(NLMSG_ALIGN(size), bytes.size()));
  return true;
}

// The value of an attribute; empty when it is missing.
std::string_view FindAttribute(std::string_view attributes, uint16_t type) {
  rtattr header;
  std::string_view value;
  while (TakeHeader(attributes, header) && TakePayload(attributes, header.rta_len, RTA_LENGTH(0), value)) {
    if ((header.rta_type & NLA_TYPE_MASK) == type) return value;
  }
  return {};
}

// The text of an attribute up to its first NUL; empty when it is missing or cannot be an interface's name.
std::string NameAttribute(std::string_view attributes, uint16_t type) {
  const std::string_view value = FindAttribute(attributes, type);
  const std::string_view text = value.substr(0, value.find('\0'));
  return text.size() < IFNAMSIZ ? std::string(text) : std::string();
}

// Whether the attribute is there with the size of `value`, which it is written to then.
template <typename Value>
bool ReadAttribute(std::string_view attributes, uint16_t type, Value& value) {
  const std::string_view bytes = FindAttribute(attributes, type);
  if (bytes.size() != sizeof(value)) return false;
  memcpy(&value, bytes.data(), sizeof(value));
  return true;
}

uint32_t Ipv4Attribute(std::string_view attributes, uint16_t type, uint32_t otherwise) {
  uint32_t value = 0;
  return ReadAttribute(attributes, type, value) ? ntohl(value) : otherwise;
}

std::optional<RouteMessage> ParseLink(RouteMessage message, std::string_view body) {
  ifinfomsg link;
  if (!TakeHeader(body, link)) return std::nullopt;
  if (message.kind == RouteMessage::Kind::kLinkGone && link.ifi_family == AF_BRIDGE) {
    message.kind = RouteMessage::Kind::kLinkLeft;
  }
  message.index = link.ifi_index;
  message.name = NameAttribute(body, IFLA_IFNAME);
  message.up = (link.ifi_flags & IFF_UP) != 0;
  return message;
}

std::optional<RouteMessage> ParseAddress(RouteMessage message, std::string_view body) {
  ifaddrmsg address;
  if (!TakeHeader(body, address)) return std::nullopt;
  message.index = static_cast<int>(address.ifa_index);
  if (address.ifa_family == AF_INET) {
    Ipv4Address& ipv4 = message.ipv4;
    ipv4.local = Ipv4Attribute(body, IFA_LOCAL, 0);
    ipv4.peer = Ipv4Attribute(body, IFA_ADDRESS, ipv4.local);
    ipv4.prefix = std::min<int>(address.ifa_prefixlen, 32);
    ipv4.broadcast = Ipv4Attribute(body, IFA_BROADCAST, 0);
    ipv4.scope = address.ifa_scope;
    ipv4.label = NameAttribute(body, IFA_LABEL);
  } else if (!ReadAttribute(body, IFA_LOCAL, message.ipv6)) {  // There with a far end's address only.
    (void)ReadAttribute(body, IFA_ADDRESS, message.ipv6);
  }
  return message;
}

// The end of a dump and the answer to an order begin with the same number: 0, or an error.
RouteMessage ParseOutcome(RouteMessage message, std::string_view body) {
  int32_t error = 0;
  if (TakeHeader(body, error) && error != 0) message.kind = RouteMessage::Kind::kRefused;
  return message;
}

std::optional<RouteMessage> ParseMessage(const nlmsghdr& header, std::string_view body) {
  using Kind = RouteMessage::Kind;
  RouteMessage message{};
  message.interrupted = (header.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
  switch (header.nlmsg_type) {
    case RTM_NEWLINK:
      message.kind = Kind::kLink;
      return ParseLink(std::move(message), body);
    case RTM_DELLINK:
      message.kind = Kind::kLinkGone;
      return ParseLink(std::move(message), body);
    case RTM_NEWADDR:
    case RTM_DELADDR:
      message.kind = Kind::kAddress;
      return ParseAddress(std::move(message), body);
    case NLMSG_DONE:
    case NLMSG_ERROR:
      message.kind = Kind::kDone;
      return ParseOutcome(std::move(message), body);
    default:
      return std::nullopt;
  }
}

}  // namespace

std::vector<RouteMessage> ParseRouteMessages(std::string_view bytes) {
  std::vector<RouteMessage> messages;
  nlmsghdr header;
  std::string_view body;
  while (TakeHeader(bytes, header) && TakePayload(bytes, header.nlmsg_len, NLMSG_HDRLEN, body)) {
    std::optional<RouteMessage> message = ParseMessage(header, body);
    if (message) messages.push_back(std::move(*message));
  }
  return messages;
}

}  // namespace kor::util
