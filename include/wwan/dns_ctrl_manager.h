// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "common/event_dic.h"
#include "common/export.h"

namespace kor::wwan {

class DnsCtrlService;

// The device's DNS forwarder: one dnsmasq on 127.0.0.1 that follows the data calls.
//
// All managers of a process share one service. The first to be constructed creates it (nothing is started yet), the
// last to be destroyed stops and destroys it, and with it dnsmasq, whoever started that, which blocks as StopService()
// does. While the service runs it
//   - keeps /etc/resolv.conf at "nameserver 127.0.0.1",
//   - writes the servers of the calls that are up to /var/run/netctld-dnsmasq/dnsmasq_resolv.conf whenever an
//     rmnet_data interface changes, or the text of /data/permanent-dns.conf instead when there is one,
//   - starts dnsmasq again when it is gone at such a moment.
//
// Thread safety: managers may be created, used and destroyed on several threads; StartService and StopService are
// called by one thread at a time.
//
// Callbacks run on the thread that wrote the file (the one in StartService, the file monitor's or the interface
// monitor's) with the service and its table locked. A callback must not call any operation of this class on any object,
// create or destroy one, or wait for a thread that does; it hands work to another thread. A debug build of the library
// ends the process, with a sentence that says so, when it does.
class KOR_EXPORT DnsCtrlManager {
 public:
  DnsCtrlManager();
  ~DnsCtrlManager();
  DnsCtrlManager(const DnsCtrlManager&) = delete;
  DnsCtrlManager& operator=(const DnsCtrlManager&) = delete;

  // Starts the shared service for all managers: watches, dnsmasq, first refresh. Blocks for at most half a second more
  // when a call's configuration is still incomplete. True when it runs, also when it ran already. False when
  // /etc/resolv.conf or the folder /data cannot be watched: the log says which, and the service counts as started,
  // though it does nothing, until StopService(); false too, and not started, when the kernel has no inotify instance
  // left. Throws what the vendor's side throws when the modem cannot be reached; the service runs all the same, and its
  // next event refreshes. Throws std::bad_alloc when memory runs out: it may then run half subscribed, so stop it and
  // start it again.
  bool StartService();

  // Stops it for all managers and kills dnsmasq. Blocks until no refresh runs any more, which takes up to three seconds
  // while a call's configuration is incomplete (and what the vendor's side and the callbacks take); then for at most a
  // second until the killed dnsmasq is gone, which is mostly at once. False when the pid file holds no process id.
  bool StopService();

  // From now on calls `cb` with kEvtDnsUpdated (no parameters) after every write of the forwarder's server list. A
  // second call replaces the callback.
  void SetEventCb(std::function<void(kor::util::EventDic&)> cb);

  // Ends that; the destructor does it too. Once it has returned, the callback is not running and never runs again.
  void UnsetEventCb();

  // The shared service, null iff no manager exists, and the number of live managers. For diagnostics: they change,
  // under a lock of their own, while managers are made and destroyed. The pointer stands still while any manager lives.
  static DnsCtrlService* s_dns_ctrl_service_;
  static int s_ref_cnt_;
};

}  // namespace kor::wwan
