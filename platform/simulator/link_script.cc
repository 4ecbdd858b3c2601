// SPDX-License-Identifier: Apache-2.0
#include "simulator/link_script.h"

namespace kor::modem {

namespace {

using kor::util::IPFamily;

// Far above what a machine's own connections use, so that they stay the preferred ones.
constexpr int kRouteMetric = 10'000;

std::string Address(int number, IPFamily family, const char* host) {
  const std::string n = std::to_string(number);
  return family == IPFamily::kIpv4 ? "10.64." + n + "." + host : "fd64:" + n + "::" + host;
}

// The "address add" or "address del" line. An IPv6 address is usable at once: nobody else can have it.
std::string AddressLine(const char* verb, const std::string& address, IPFamily family, const std::string& interface) {
  const std::string rest = "/" + std::to_string(PrefixLength(family)) + (family == IPFamily::kIpv4 ? "" : " nodad");
  return std::string("address ") + verb + " " + address + rest + " dev " + interface + "\n";
}

std::string RouteLine(const char* verb, int number, IPFamily family) {
  return std::string("route ") + verb + " default via " + NetworkAddress(number, family) + " dev " +
         DeviceName(number) + " metric " + std::to_string(kRouteMetric + number) + "\n";
}

// Without a link-local address: it would only bring further address events.
std::string SetUpLine(const std::string& interface) { return "link set dev " + interface + " addrgenmode none up\n"; }

}  // namespace

std::string DeviceName(int number) { return "rmnet_data" + std::to_string(number); }

std::string NetworkName(int number) { return "carrier" + std::to_string(number); }

int PrefixLength(IPFamily family) { return family == IPFamily::kIpv4 ? 30 : 64; }

std::string DeviceAddress(int number, IPFamily family) { return Address(number, family, "2"); }

std::string NetworkAddress(int number, IPFamily family) { return Address(number, family, "1"); }

std::string CreateLinkText(int number, const std::string& carrier, bool leftover) {
  const std::string name = DeviceName(number);
  std::string text;
  if (leftover) text += RemoveLinkText(number);
  text += "link add name " + name + " type veth peer name " + NetworkName(number);
  if (!carrier.empty()) text += " netns " + carrier;
  return text + "\n" + SetUpLine(name);
}

std::string DeviceUpText(int number, IPFamily family) {
  return AddressLine("add", DeviceAddress(number, family), family, DeviceName(number)) +
         RouteLine("add", number, family);
}

std::string DeviceDownText(int number, IPFamily family) {
  return RouteLine("del", number, family) +
         AddressLine("del", DeviceAddress(number, family), family, DeviceName(number));
}

std::string NetworkUpText(int number, IPFamily family) {
  const std::string name = NetworkName(number);
  return AddressLine("add", NetworkAddress(number, family), family, name) + SetUpLine(name);
}

std::string NetworkDownText(int number, IPFamily family) {
  return AddressLine("del", NetworkAddress(number, family), family, NetworkName(number));
}

std::string RemoveLinkText(int number) { return "link del dev " + DeviceName(number) + "\n"; }

}  // namespace kor::modem
