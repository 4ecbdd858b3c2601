// SPDX-License-Identifier: Apache-2.0
#include "kwwand/host/lan_change.h"

#include "common/addresses.h"

namespace kor::host {

namespace {

using Network = kor::util::NetworkManager;

[[noreturn]] void Refuse(const char* argument, const std::string& problem, const std::string& takes) {
  throw RequestError(kInvalidParams, std::string(argument) + ": " + problem,
                     {{"argument", argument}, {"takes", takes}});
}

uint32_t Number(const std::string& address) { return kor::util::ParseIpv4(address).value_or(0); }

void CheckAddress(const char* argument, const std::optional<std::string>& text) {
  const std::string takes = "a dotted IPv4 address";
  if (text && !kor::util::ParseIpv4(*text)) Refuse(argument, "takes " + takes, takes);
}

bool IsLanNetmask(const std::string& text) {
  const std::optional<uint32_t> mask = kor::util::ParseIpv4(text);
  const int prefix = mask ? kor::util::PrefixLength(*mask).value_or(0) : 0;
  return prefix >= 1 && prefix <= 30;
}

void CheckGateway(const LanConfig& lan) {
  const uint32_t host = ~Number(lan.nm);
  const uint32_t part = Number(lan.gw) & host;
  if (part != 0 && part != host) return;
  Refuse("gateway", lan.gw + " is the subnet's network or broadcast address", "a host address");
}

void CheckPool(const LanConfig& lan, const LanChange& change) {
  if (Network::CheckIpv4DhcpRangeValidation(lan.gw, lan.nm, lan.dhcp_start_ip, lan.dhcp_end_ip)) return;
  const std::string pool = lan.dhcp_start_ip + " to " + lan.dhcp_end_ip;
  const std::string subnet = "the subnet of the gateway " + lan.gw + " with the netmask " + lan.nm;
  if (change.start || change.end || change.move_pool) {
    Refuse(change.start ? "start"
           : change.end ? "end"
                        : "move_pool",
           "the DHCP pool " + pool + " is invalid: it must lie in " + subnet +
               ", not start above its end, and not hold the gateway",
           "a pool in the gateway's subnet");
  }
  Refuse(change.gateway   ? "gateway"
         : change.netmask ? "netmask"
                          : "dhcp",
         "the DHCP pool " + pool + " would be outside " + subnet + ", or contain its address; give start and end, or " +
             "move_pool to move it too",
         "a change that the DHCP pool fits: with start and end, or with move_pool");
}

void MovePool(LanConfig& lan) {
  const uint32_t mask = Number(lan.nm);
  for (std::string* const address : {&lan.dhcp_start_ip, &lan.dhcp_end_ip}) {
    *address = kor::util::FormatIpv4((Number(lan.gw) & mask) | (Number(*address) & ~mask));
  }
}

}  // namespace

Json LanJson(const LanConfig& lan) {
  return {{"gateway", lan.gw},       {"netmask", lan.nm},
          {"dhcp", lan.enable_dhcp}, {"start", lan.dhcp_start_ip},
          {"end", lan.dhcp_end_ip},  {"lease_s", static_cast<uint32_t>(lan.dhcp_lease_time)}};
}

LanConfig Changed(const LanConfig& current, const LanChange& change) {
  CheckAddress("gateway", change.gateway);
  CheckAddress("start", change.start);
  CheckAddress("end", change.end);
  if (change.move_pool && (change.start || change.end)) {
    Refuse("move_pool", "cannot be combined with start or end", "true only without start and end");
  }
  LanConfig lan = current;
  lan.gw = change.gateway.value_or(current.gw);
  lan.nm = change.netmask.value_or(current.nm);
  lan.enable_dhcp = change.dhcp.value_or(current.enable_dhcp);
  lan.dhcp_start_ip = change.start.value_or(current.dhcp_start_ip);
  lan.dhcp_end_ip = change.end.value_or(current.dhcp_end_ip);
  lan.dhcp_lease_time = change.lease_s.value_or(current.dhcp_lease_time);
  if (!IsLanNetmask(lan.nm)) Refuse("netmask", "takes a netmask from /1 to /30", "a netmask from /1 to /30");
  if (change.move_pool) MovePool(lan);
  CheckGateway(lan);
  if (lan.enable_dhcp) CheckPool(lan, change);
  return lan;
}

}  // namespace kor::host
