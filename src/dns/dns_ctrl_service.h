// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "common/condition.h"
#include "common/event_cb_map.h"
#include "common/export.h"
#include "common/mutex.h"
#include "common/util/fd_monitor.h"
#include "common/util/network_manager.h"
#include "lock_ranks.h"
#include "wwan/data_manager.h"

namespace kor::wwan {

// The DNS service behind every DnsCtrlManager: dnsmasq, /etc/resolv.conf, dnsmasq's resolver file, and what makes them
// follow the data calls. The files are its only state; it keeps no process id and no servers.
//
// Stopped iff inotify_fd_ is -1. A Start() that could not place a watch leaves it started but incomplete, without
// subscriptions; Stop() releases what was taken.
//
// Thread safety: FdCb() comes on the file monitor's thread, EventCb() on the interface monitor's, the rest on client
// threads; Start() and Stop() are called by one thread at a time. Every change of the files runs under the service
// lock, subscribers' callbacks included: service lock first, table lock second, subscriber's lock third.
class KOR_EXPORT DnsCtrlService {
 public:
  enum DnsSettingType : int {
    kResolvConf = 1,         // Repair /etc/resolv.conf.
    kDnsmasqResolvConf = 2,  // Write the resolver file; one pass over the calls.
    kAll = 3,                // dnsmasq alive, then both files; up to five passes while a call is not ready.
  };

  DnsCtrlService();
  ~DnsCtrlService();
  DnsCtrlService(const DnsCtrlService&) = delete;
  DnsCtrlService& operator=(const DnsCtrlService&) = delete;

  // Places the watches, subscribes, and refreshes everything once. True when it runs, or ran already.
  bool Start();

  // Undoes that and kills the dnsmasq that the pid file names, also when nothing was started, and also with no memory
  // left. Waits for a refresh that runs, and then for at most a second until the killed process is gone. When it
  // returns no callback of this object runs. False when the pid file holds no process id.
  bool Stop();

  // Does the work of one setting under the service lock. Always true.
  bool ChangeDnsSetting(DnsSettingType setting_type) KOR_EXCLUDES(mutex_);

  // Starts dnsmasq as a daemon. True when the shell's status was 0.
  bool StartDnsmasq() KOR_REQUIRES(mutex_);

  // Whether the pid file names a live process, whatever program that is.
  bool IsDnsmasqAlive() KOR_REQUIRES(mutex_);

  // Rewrites /etc/resolv.conf in place, on the same inode, when its text is another. False when it cannot be opened.
  bool SetResolvConf() KOR_REQUIRES(mutex_);

  // Whether the permanent file's text is used: not null and longer than 4 characters.
  bool IsResolvConfValid(char* text);

  // Writes the resolver file and tells the subscribers. `retry`: five passes over the calls instead of one while no
  // server is found. False, and nobody told, when the file cannot be opened. Waits 500 ms a pass, with the service lock
  // released, when a call is not ready.
  bool SetDnsmasqResolvConf(bool retry) KOR_REQUIRES(mutex_);

  // Watches `path` on inotify_fd_ (`fd` is the same), links followed: the file itself, or with `watch_file` false the
  // folder that holds it. The watch descriptor, or -1.
  int AddFileWatcher(int fd, const char* path, bool watch_file);

  // Something happened to a watched file.
  void FdCb(int fd, kor::util::FdType type);

  // Something happened to an interface.
  void EventCb(kor::util::EventDic& event_dic);

  kor::util::EventCbMap callbacks_{rank::kDnsTable};  // Subscribers to kEvtDnsUpdated.

 private:
  KOR_HIDDEN std::string GatherServerLines(bool retry) KOR_REQUIRES(mutex_);
  KOR_HIDDEN void RemoveWatch(std::atomic<int>& wd);
  KOR_HIDDEN bool KillDnsmasq();

  kor::util::FdMonitor* fd_monitor_ = nullptr;  // Not owned; monitors live as long as the process.
  kor::util::NetworkManager network_manager_;
  kor::util::Mutex mutex_{rank::kService};  // The service lock.
  kor::util::Condition cond_;               // For the not-ready wait alone; nothing signals it.

  // Read by the file monitor's thread while Stop() clears them.
  std::atomic<int> inotify_fd_{-1};
  std::atomic<int> resolv_conf_wd_{-1};
  std::atomic<int> permanent_dns_wd_{-1};

  // Made by the first refresh that asks the calls, under the service lock; Stop() looks at it when no refresh can run.
  std::unique_ptr<DataManager> data_manager_;
};

}  // namespace kor::wwan
