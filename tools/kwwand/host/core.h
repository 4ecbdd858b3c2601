// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "common/mutex.h"
#include "kwwand/host/at_claims.h"
#include "kwwand/host/call_watch.h"
#include "kwwand/host/event_log.h"
#include "kwwand/host/event_sink.h"
#include "kwwand/host/host.h"
#include "kwwand/host/lan_guard.h"
#include "kwwand/lock_ranks.h"
#include "wwan/at_manager.h"
#include "wwan/data_manager.h"
#include "wwan/device_manager.h"
#include "wwan/dns_ctrl_manager.h"
#include "wwan/mobileap_manager.h"
#include "wwan/network_manager.h"
#include "wwan/sim_manager.h"
#include "wwan/sms_manager.h"

namespace kor::host {

// What Host and its methods share. Every method holds it while it runs, so it ends with the last of them.
//
// Thread safety: Start() and Stop() by one thread; the members lock themselves.
class Core {
 public:
  Core(const Host::Options& options, std::function<void(const Json&)> sink);
  ~Core();
  Core(const Core&) = delete;
  Core& operator=(const Core&) = delete;

  // See Host. Start() throws what the managers throw.
  void Start();
  void Stop();

  // The DNS service's start and stop, one at a time. StartDns() throws RequestError when the service cannot start, and
  // when it runs without dnsmasq: the next change of a data interface then tries again.
  void StartDns() KOR_EXCLUDES(dns_mutex_);
  void StopDns() KOR_EXCLUDES(dns_mutex_);
  bool dns_running() const { return dns_running_; }

  EventSink sink;
  EventLog log;

  // The managers, in the order in which they are made. Null before Start().
  std::unique_ptr<kor::wwan::DnsCtrlManager> dns;
  std::unique_ptr<kor::wwan::DataManager> data;
  std::unique_ptr<kor::wwan::AtManager> at;
  std::unique_ptr<kor::wwan::NetworkManager> network;
  std::unique_ptr<kor::wwan::DeviceManager> device;
  std::unique_ptr<kor::wwan::SimManager> sim;
  std::unique_ptr<kor::wwan::SmsManager> sms;
  std::unique_ptr<kor::wwan::MobileapManager> mobileap;  // For all but the LAN's own configuration.
  std::unique_ptr<LanGuard> lan;

  AtClaims at_claims;
  CallWatch calls;  // Last: its thread uses the rest.

 private:
  void Subscribe();
  void Unsubscribe();

  const std::string lan_journal_;
  kor::util::Mutex dns_mutex_{rank::kHostDns};
  bool stopped_ KOR_GUARDED_BY(dns_mutex_) = false;
  std::atomic<bool> dns_running_{false};
};

}  // namespace kor::host
