// SPDX-License-Identifier: Apache-2.0
#include "kutil/route_message.h"

#include <gtest/gtest.h>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <memory>
#include <string>

#include "common/addresses.h"

namespace kor::util {
namespace {

using Names = std::vector<std::string>;
using namespace std::string_literals;

template <typename T>
std::string Bytes(const T& value) {
  return {reinterpret_cast<const char*>(&value), sizeof(value)};
}

std::string Padded(std::string bytes) {
  bytes.resize((bytes.size() + 3) / 4 * 4);
  return bytes;
}

std::string Attribute(uint16_t type, const std::string& value) {
  const rtattr header{static_cast<uint16_t>(sizeof(rtattr) + value.size()), type};
  return Padded(Bytes(header) + value);
}

std::string Message(uint16_t type, const std::string& body, uint16_t flags = 0) {
  const nlmsghdr header{static_cast<uint32_t>(sizeof(nlmsghdr) + body.size()), type, flags, 0, 0};
  return Padded(Bytes(header) + body);
}

std::string Link(uint16_t type, int index, const std::string& attributes, unsigned char family = AF_UNSPEC) {
  ifinfomsg link{};
  link.ifi_family = family;
  link.ifi_index = index;
  return Message(type, Bytes(link) + attributes);
}

std::string Name(const char* name) { return Attribute(IFLA_IFNAME, std::string(name) + '\0'); }

std::string Address(uint16_t type, uint32_t index, const std::string& label) {
  ifaddrmsg address{};
  address.ifa_family = AF_INET;
  address.ifa_prefixlen = 30;
  address.ifa_index = index;
  return Message(type, Bytes(address) + Attribute(IFA_LOCAL, "\x0a\x40\x00\x02"s) + Attribute(IFA_LABEL, label));
}

// "<kind> <index> <name>", or an address with its label, of each message. The bytes lie in a block of exactly their
// size, so that AddressSanitizer sees every read beyond them.
Names Parse(const std::string& bytes) {
  const std::unique_ptr<char[]> block(new char[bytes.size()]);
  bytes.copy(block.get(), bytes.size());
  Names texts;
  for (const RouteMessage& m : ParseRouteMessages({block.get(), bytes.size()})) {
    texts.push_back(std::to_string(static_cast<int>(m.kind)) + " " + std::to_string(m.index) + " " + m.name +
                    (m.ipv4.prefix == 30 ? m.ipv4.label + FormatIpv4(m.ipv4.local) : "") + (m.interrupted ? "!" : ""));
  }
  return texts;
}

TEST(RouteMessageTest, ADatagramIsReadMessageByMessage) {
  const std::string mtu = Attribute(IFLA_MTU, Bytes(1500));
  EXPECT_EQ((Names{"0 3 rmnet_data0", "1 4 eth0", "2 5 lan1", "3 3 eth0:backup10.64.0.2", "4 0 !", "4 0 ", "5 0 "}),
            Parse(Link(RTM_NEWLINK, 3, mtu + Name("rmnet_data0") + mtu) + Message(RTM_NEWROUTE, "not ours") +
                  Link(RTM_DELLINK, 4, Name("eth0")) + Link(RTM_DELLINK, 5, Name("lan1"), AF_BRIDGE) +
                  Address(RTM_NEWADDR, 3, "eth0:backup") + Message(NLMSG_DONE, "", NLM_F_DUMP_INTR) +
                  Message(NLMSG_ERROR, Bytes(nlmsgerr{})) + Message(NLMSG_DONE, Bytes(-1))));
}

TEST(RouteMessageTest, NoBytesAreTooHostile) {
  // A name without its NUL ends with the attribute; one that no interface can have is none.
  EXPECT_EQ((Names{"0 3 rmnet_data0"}), Parse(Link(RTM_NEWLINK, 3, Attribute(IFLA_IFNAME, "rmnet_data0"))));
  EXPECT_EQ((Names{"0 3 "}), Parse(Link(RTM_NEWLINK, 3, Name("sixteen_letters_"))));
  EXPECT_EQ((Names{"0 3 "}), Parse(Link(RTM_NEWLINK, 3, Attribute(IFLA_IFNAME, ""))));

  // An impossible length ends the walk, and only what stood before counts.
  const std::string good = Link(RTM_NEWLINK, 3, Name("rmnet_data0"));
  for (const uint32_t length : {0u, 15u, static_cast<uint32_t>(good.size()) + 1, 0x7fffffffu, 0xffffffffu}) {
    std::string bad = good;
    bad.replace(0, sizeof(length), Bytes(length));
    EXPECT_EQ((Names{"0 3 rmnet_data0"}), Parse(good + bad)) << length;
  }

  // Cut short anywhere, nothing is read that is not there.
  for (size_t size = 0; size < good.size(); ++size) EXPECT_EQ(0u, Parse(good.substr(0, size)).size()) << size;
}

}  // namespace
}  // namespace kor::util
