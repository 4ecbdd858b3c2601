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

// The text of an attribute up to its first NUL; empty when the attribute is missing or cannot be an interface's name.
std::string NameAttribute(std::string_view attributes, uint16_t type) {
  rtattr header;
  std::string_view value;
  while (TakeHeader(attributes, header) && TakePayload(attributes, header.rta_len, RTA_LENGTH(0), value)) {
    if ((header.rta_type & NLA_TYPE_MASK) != type) continue;
    const std::string_view text = value.substr(0, value.find('\0'));
    return text.size() < IFNAMSIZ ? std::string(text) : std::string();
  }
  return {};
}

std::optional<RouteMessage> ParseLink(RouteMessage message, std::string_view body) {
  ifinfomsg link;
  if (!TakeHeader(body, link)) return std::nullopt;
  if (message.kind == RouteMessage::Kind::kLinkGone && link.ifi_family == AF_BRIDGE) {
    message.kind = RouteMessage::Kind::kLinkLeft;
  }
  message.index = link.ifi_index;
  message.name = NameAttribute(body, IFLA_IFNAME);
  return message;
}

// An address's label is the link's name, or begins with it: "eth0:backup".
std::optional<RouteMessage> ParseAddress(RouteMessage message, std::string_view body) {
  ifaddrmsg address;
  if (!TakeHeader(body, address)) return std::nullopt;
  message.index = static_cast<int>(address.ifa_index);
  const std::string label = NameAttribute(body, IFA_LABEL);
  message.name = label.substr(0, label.find(':'));
  return message;
}

std::optional<RouteMessage> ParseMessage(const nlmsghdr& header, std::string_view body) {
  using Kind = RouteMessage::Kind;
  const bool interrupted = (header.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
  switch (header.nlmsg_type) {
    case RTM_NEWLINK:
      return ParseLink({Kind::kLink, 0, {}, interrupted}, body);
    case RTM_DELLINK:
      return ParseLink({Kind::kLinkGone, 0, {}, interrupted}, body);
    case RTM_NEWADDR:
    case RTM_DELADDR:
      return ParseAddress({Kind::kAddress, 0, {}, interrupted}, body);
    case NLMSG_DONE:
      return RouteMessage{Kind::kDumpDone, 0, {}, interrupted};
    case NLMSG_ERROR:
      return RouteMessage{Kind::kDumpFailed, 0, {}, interrupted};
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
