// SPDX-License-Identifier: Apache-2.0
#include "common/util/network_manager.h"

#include <linux/rtnetlink.h>

#include <algorithm>
#include <map>
#include <utility>

#include "common/addresses.h"
#include "kutil/interface_addresses.h"
#include "kutil/interface_monitor.h"
#include "kutil/route_request.h"

namespace kor::util {

namespace {

// The link of that name; of index 0, which none has, when there is none.
RouteMessage FindLink(const std::string& name) {
  std::vector<RouteMessage> links;
  (void)Dump(RTM_GETLINK, AF_UNSPEC, links);  // On failure: what the kernel told until then.
  const auto found = std::find_if(links.begin(), links.end(), [&](const RouteMessage& m) { return m.name == name; });
  return found == links.end() ? RouteMessage{} : *found;
}

// Whether a subnet with `mask` has room for a gateway and a pool, and the pool's ends and the gateway are placed well.
bool IsPool(uint32_t gateway, uint32_t mask, uint32_t start, uint32_t end) {
  if (PrefixLength(mask).value_or(0) == 0) return false;
  const uint32_t network = gateway & mask;
  const uint32_t broadcast = network | ~mask;  // With /31 and /32 nothing lies between the two.
  if (start <= network || end >= broadcast || start > end) return false;
  return gateway < start || gateway > end;
}

}  // namespace

NetworkManager::NetworkManager() = default;

void NetworkManager::SetEventCb(std::function<void(EventDic&)> cb) {
  // Subscribed before the predecessor ends and started after it: no change is missed between the two, and they do not
  // run side by side.
  std::shared_ptr<InterfaceMonitor> next = InterfaceMonitor::Create(std::move(cb));
  UnsetEventCb();
  monitor_ = std::move(next);
  monitor_->Start();
}

void NetworkManager::UnsetEventCb() {
  const std::shared_ptr<InterfaceMonitor> ended = std::exchange(monitor_, nullptr);
  if (ended != nullptr) ended->Stop();
}

// -- Questions and orders about one interface -------------------------------------------------------------------------

std::vector<std::string> NetworkManager::GetIfNames() {
  std::map<int, std::string> links;
  (void)ReadLinks(links);  // As above.
  std::vector<std::string> names;
  for (const auto& link : links) names.push_back(link.second);
  return names;
}

bool NetworkManager::IsUpState(std::string ifname) { return FindLink(ifname).up; }

bool NetworkManager::GetIpAddress(std::string ifname, std::string& address, bool ipv6) {
  const int index = FindLink(ifname).index;
  if (ipv6) {
    const std::optional<std::string> text = ReadIpv6Address(index);
    if (text) address = *text;
    return text.has_value();
  }
  const auto addresses = ReadIpv4Addresses(index);
  if (!addresses || addresses->empty()) return false;
  address = FormatIpv4(addresses->front().local);
  return true;
}

bool NetworkManager::SetIpAddress(std::string ifname, std::string address) {
  const std::optional<uint32_t> local = ParseIpv4(address);
  if (!local || !IsHostAddress(*local)) return false;
  const int index = FindLink(ifname).index;
  const auto old = ReadIpv4Addresses(index);
  if (!old) return false;
  Ipv4Address wanted = old->empty() ? Ipv4Address{} : old->front();
  if (wanted.peer == wanted.local) wanted.peer = *local;
  wanted.local = *local;
  return SetOnlyIpv4Address(index, wanted);
}

bool NetworkManager::GetSubnetMask(std::string ifname, std::string& mask) {
  const auto addresses = ReadIpv4Addresses(FindLink(ifname).index);
  if (!addresses || addresses->empty()) return false;
  mask = FormatIpv4(NetmaskOf(addresses->front().prefix));
  return true;
}

bool NetworkManager::SetSubnetMask(std::string ifname, std::string mask) {
  const std::optional<uint32_t> value = ParseIpv4(mask);
  const int prefix = value ? PrefixLength(*value).value_or(0) : 0;
  const int index = FindLink(ifname).index;
  const auto old = ReadIpv4Addresses(index);
  if (prefix == 0 || !old || old->empty()) return false;
  Ipv4Address wanted = old->front();
  wanted.prefix = prefix;
  return SetOnlyIpv4Address(index, wanted);
}

// -- Texts: pure ------------------------------------------------------------------------------------------------------

bool NetworkManager::IsValidAddress(std::string address, bool ipv6) {
  return IsAddress(ipv6 ? AF_INET6 : AF_INET, address);
}

bool NetworkManager::CheckIpv4DhcpRangeValidation(std::string gw, std::string nm, std::string start, std::string end) {
  const std::optional<uint32_t> gateway = ParseIpv4(gw);
  const std::optional<uint32_t> mask = ParseIpv4(nm);
  const std::optional<uint32_t> first = ParseIpv4(start);
  const std::optional<uint32_t> last = ParseIpv4(end);
  if (!gateway || !mask || !first || !last) return false;
  return IsPool(*gateway, *mask, *first, *last);
}

}  // namespace kor::util
