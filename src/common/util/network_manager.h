// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "common/event_dic.h"
#include "common/export.h"

namespace kor::util {

class InterfaceMonitor;

// The device's network interfaces: their changes as events, and questions and orders about one of them.
//
// Thread safety: SetEventCb() and UnsetEventCb() of one object are called by one thread at a time. The static
// operations may be called from any thread, callbacks included; they ask the kernel and do not wait.
class KOR_EXPORT NetworkManager {
 public:
  NetworkManager();
  NetworkManager(const NetworkManager&) = delete;
  NetworkManager& operator=(const NetworkManager&) = delete;

  // From now on calls `cb` with kEvtNetIface for every change of a link or an address of any interface, the
  // interface's name in kParamIfaceName. The callback runs on this object's own thread, one event at a time; changes
  // that came too fast to be kept one by one are made good by an event for every interface. A second call replaces
  // the callback.
  void SetEventCb(std::function<void(EventDic&)> cb);

  // Ends that. Once this has returned, the callback is not running and never runs again (from inside the callback
  // itself it returns at once). Without a callback set it changes nothing.
  void UnsetEventCb();

  // -- Interfaces: false when there is no such interface; orders need CAP_NET_ADMIN ----------------------------------

  // The names of all interfaces in the order in which they were made: names keep their order while others come and go.
  static std::vector<std::string> GetIfNames();

  // Whether it is set up (IFF_UP); the carrier does not count.
  static bool IsUpState(std::string ifname);

  // Its first IPv4 address or, with `ipv6`, its first IPv6 address: link-local ones count when it has no other. False,
  // with `address` untouched, when it has none.
  static bool GetIpAddress(std::string ifname, std::string& address, bool ipv6);

  // Gives it one IPv4 address in place of all it had: with what its first had besides (the netmask, a far end's
  // address, a label, and whether there is a broadcast address), as a single host when it had none. Its routes stay,
  // but for those to the old addresses' subnets. False, with nothing changed, when `address` is not the dotted text of
  // an address that a host can have.
  static bool SetIpAddress(std::string ifname, std::string address);

  // The netmask of its first IPv4 address as dotted text. False, with `mask` untouched, when it has no address.
  static bool GetSubnetMask(std::string ifname, std::string& mask);

  // Gives its first IPv4 address another netmask; further ones go. Routes as above. False, with nothing changed, when
  // it has no address or `mask` is not a netmask: ones, at least one, and then zeros.
  static bool SetSubnetMask(std::string ifname, std::string mask);

  // -- Texts: pure ---------------------------------------------------------------------------------------------------

  // Whether the whole text is an IPv4 address (four decimal numbers) or, with `ipv6`, an IPv6 address without a zone.
  static bool IsValidAddress(std::string address, bool ipv6);

  // Whether `start` to `end` is a pool for a DHCP server at `gw` with the netmask `nm`: all four are IPv4 addresses,
  // the netmask is one of /1 to /30, the pool lies in the gateway's subnet, its start is not above its end, and neither
  // the subnet's own, its broadcast nor the gateway's address is in it.
  static bool CheckIpv4DhcpRangeValidation(std::string gw, std::string nm, std::string start, std::string end);

 private:
  std::shared_ptr<InterfaceMonitor> monitor_;  // Null iff no callback is set.
};

}  // namespace kor::util
