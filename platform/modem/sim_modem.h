// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "common/export.h"
#include "common/ip_family.h"
#include "common/result.h"

namespace kor::modem {

// The simulated modem's control side: what a scenario, a test or a person at the bench sets. The library talks to the
// same modem through the vendor clients and never sees this. (The same as text, one line per operation: scenario.h.)
//
// Calls. Each policy has one call for IPv4 and one for IPv6, named by the policy's handle and the family. The policy
// that is there from the start has handle 100, the k-th one created after it 100 + k. Unless set otherwise a call comes
// up 50 ms after its request, its configuration is complete at once, and it goes down 20 ms after its request:
//   up    its configuration answers; then its interface appears; then kEvtWwanConnected
//   down  its configuration answers no more; then its interface goes; then kEvtWwanDisconnected
// A call taken down while it is coming up: kEvtWwanConnectFailed, then kEvtWwanDisconnected.
//
// Interfaces. Both calls of a handle share the interface rmnet_dataN with the lowest N that is free when the first of
// them comes up; it goes with the last. It is a veth pair whose far end, carrierN, plays the network: whoever sets up
// the bench puts servers there (and sets `lo` up in the far end's namespace). An interface has the addresses of the
// families that are up, and a default route through the far end with the metric 10000 + N. It takes a few milliseconds
// to make, CAP_NET_ADMIN and `ip`; nsenter and CAP_SYS_ADMIN too when the far end lives in a namespace of its own.
// Where it cannot be made one warning in the log says so, and calls have events only. Calls that are up when the
// process ends leave their interfaces behind; the next modem in the same network namespace replaces them, so let there
// be one at a time.
//   IPv4  10.64.N.2/30 (the network's end 10.64.N.1), DNS server 10.255.0.53
//   IPv6  fd64:N::2/64 (the network's end fd64:N::1), DNS server fd64:ffff::53
//
// Time. Events come from the modem's own thread, one at a time, in the order of their time, never from inside a
// request; with nothing to come the thread sleeps. It takes no signals.
//
// Thread safety: all operations may be called from any thread, from event callbacks too.
//
//   auto& modem = kor::modem::SimModem::Get();
//   modem.FailConnects(1);           // The next connect fails, ...
//   modem.SetNotReadyQueries(2);     // ... the one after it is slow to get its addresses, ...
//   modem.Drop(100, kor::util::IPFamily::kIpv4);  // ... and the network takes it down again.
class KOR_EXPORT SimModem {
 public:
  using Milliseconds = std::chrono::milliseconds;

  // The process's simulated modem, created by the first use. It lives until the process ends, also through exit().
  static SimModem& Get();

  SimModem(const SimModem&) = delete;
  SimModem& operator=(const SimModem&) = delete;

  // -- How calls behave
  // -------------------------------------------------------------------------------------------------

  // From request to outcome, for requests from now on; a negative delay is none.
  void SetConnectDelay(Milliseconds delay);
  void SetDisconnectDelay(Milliseconds delay);

  // Each call that comes up from now on answers the first `count` queries of its configuration with kNotReady.
  void SetNotReadyQueries(int count);

  // DNS servers that the network assigns to calls that come up from now on, by family; an empty text is none. The texts
  // are given on as they are: what does not parse as an address of the family is a fault that the library's side must
  // bear.
  void SetDnsServers(kor::util::IPFamily family, const std::string& dns_1, const std::string& dns_2);
  // The same for the calls of one handle only.
  void SetDnsServers(int32_t handle, kor::util::IPFamily family, const std::string& dns_1, const std::string& dns_2);

  // Whether calls that come up from now on get interfaces; they do unless switched off.
  void SetLinks(bool enable);

  // The network namespace of the far ends of interfaces made from now on, as a path ("/run/netns/carrier"); empty: this
  // process's own. False, and nothing changes, when `path` is not an absolute path of printable characters without
  // blanks, quotes, '\' and '#'.
  bool SetCarrierNamespace(const std::string& path);

  // Whether the modem is registered in a visited network. Calls that are up stay up.
  void SetRoaming(bool roaming);

  // -- Faults: each setting replaces the one before, a count of 0 ends it
  // ------------------------------------------------

  // The next `count` operations of that name end with `result`. The names are those of the vendor clients' operations
  // ("ConnectBackhaul", "GetWwanPolicies", "GetProfileList"); operations that return bool return false. "GetInstance"
  // is the fetching of any client, "QcmapWrapper.GetInstance" or "WdsQmiClient.GetInstance" of that one; a failure
  // throws std::runtime_error.
  void FailNext(const std::string& operation, int count, kor::Result result = kor::Result::kFailure);

  // The next `count` connects (disconnects) are accepted and end with kEvtWwanConnectFailed (kEvtWwanDisconnectFailed;
  // the call stays as it was).
  void FailConnects(int count);
  void FailDisconnects(int count);

  // The next `count` connects or disconnects are accepted and never answered: the call stays connecting (disconnecting)
  // until a later disconnect ends it, or the network does. A later connect brings a connecting call up.
  void IgnoreRequests(int count);

  // The next `count` reports are lost on their way: the call and its interface change, no event comes, and the vendor
  // client's state of the call stays what it was.
  void LoseReports(int count);

  // -- What the network does
  // ----------------------------------------------------------------------------------------------

  // Takes an up call down, as soon as the modem's thread is free. False when it is not up.
  bool Drop(int32_t handle, kor::util::IPFamily family);

  // -- What was seen
  // ------------------------------------------------------------------------------------------------------

  // The operations asked of the vendor clients since the last call, oldest first, the latest 1000: the name, then the
  // arguments; a family is 4, 6 or 46, a switch 0 or 1 ("ConnectBackhaul 0 4", "SetRoaming 0 1"). The fetching of a
  // client is on the record only when it failed.
  std::vector<std::string> TakeRecord();

  // Waits until no event is due or running; an ignored request does not count. False when that takes longer than
  // `limit`, and at once in an event callback, which is an event itself.
  bool WaitIdle(Milliseconds limit);

 private:
  SimModem() = default;
};

}  // namespace kor::modem
