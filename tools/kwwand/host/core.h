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

// The host's inside: the library's managers, the services they start; the methods are made over it.
//
// Thread safety: Start() and Stop() by one thread, once each; the members lock themselves. A method may run on any
// thread, any number at once (those of Lane::kShort are meant to run one after another).
//
// Ownership: every method holds the core while it runs, so one that is still waiting in the library (up to 10 seconds;
// a scan 3 minutes) outlives its Methods safely. A process that does not want to wait for it ends with _exit() after
// Stop().
//
//   const auto core = std::make_shared<Core>(Core::Options{}, [&](const Json& event) { ... });
//   core->Start();
//   Dispatcher dispatcher(MakeMethods(core), mailbox);
//   ...
//   core->Stop();
class Core {
 public:
  struct Options {
    std::string lan_journal{};  // See LanJournal.
  };

  // `sink` hears every event as the params of an "event" notification, on any thread, from Start() until Stop() has
  // returned; it does not block and calls no method.
  Core(const Options& options, std::function<void(const Json& event)> sink);
  ~Core();
  Core(const Core&) = delete;
  Core& operator=(const Core&) = delete;

  // Makes the managers, starts the DNS and the AT service. Throws std::runtime_error with the reason when the modem
  // cannot be reached. A DNS service that cannot start is no reason: dns.show tells, the log tells why, dns.start tries
  // again.
  void Start();

  // Ends all that: no event comes any more, an unconfirmed LAN change is rolled back, both services
  // are stopped. Does not wait for methods, which may still be in the library. Without effect before Start().
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
  void StartManagers();
  void Subscribe();
  void Unsubscribe();

  const std::string lan_journal_;
  kor::util::Mutex dns_mutex_{rank::kHostDns};
  bool stopped_ KOR_GUARDED_BY(dns_mutex_) = false;
  std::atomic<bool> dns_running_{false};
};

}  // namespace kor::host
