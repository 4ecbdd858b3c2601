// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <string>
#include <utility>

#include "common/ip_family.h"
#include "common/mutex.h"
#include "common/result.h"
#include "port/event_thread.h"
#include "port/lock_ranks.h"
#include "port/modem_port.h"
#include "simulator/faults.h"
#include "simulator/links.h"

namespace kor::modem {

// The life of the simulated modem's data calls, one per handle and family:
//
//   down --start--> coming up --delay--> up (configuration answers, then interface, then kConnected)
//   up --stop--> going down --delay--> down (configuration silent, then interface gone, then kDisconnected)
//
// Thread safety: all operations may be called from any thread; none blocks. Reports come on the event thread without a
// lock held. Lock order: this class's, then the event thread's or the faults'.
class Calls {
 public:
  using Milliseconds = std::chrono::milliseconds;
  using Family = kor::util::IPFamily;

  struct DnsServers {
    std::string dns_1;
    std::string dns_2;
  };

  // `in_service`: whether there can be calls; asked without a lock held. The three others must outlive this object.
  Calls(EventThread& events, Links& links, Faults& faults, std::function<bool()> in_service)
      : events_(events), links_(links), faults_(faults), in_service_(std::move(in_service)) {}

  void SetReport(ModemPort::CallReporter report) KOR_EXCLUDES(mutex_);
  void SetConnectDelay(Milliseconds delay) KOR_EXCLUDES(mutex_);
  void SetDisconnectDelay(Milliseconds delay) KOR_EXCLUDES(mutex_);
  void SetNotReadyQueries(int count) KOR_EXCLUDES(mutex_);
  void SetDnsServers(Family family, DnsServers servers) KOR_EXCLUDES(mutex_);
  void SetDnsServers(int32_t handle, Family family, DnsServers servers) KOR_EXCLUDES(mutex_);

  // As ModemPort has them.
  kor::Result Start(const CallRequest& request) KOR_EXCLUDES(mutex_);
  kor::Result Stop(int32_t handle, Family family, uint64_t serial) KOR_EXCLUDES(mutex_);
  kor::Result GetConfig(int32_t handle, Family family, CallConfig& config) KOR_EXCLUDES(mutex_);
  std::list<RunningCall> List() KOR_EXCLUDES(mutex_);

  // A call is up that nobody asked for, as one that an earlier process left. False when there is one already, or no
  // room for its interface.
  bool AddRunning(int32_t handle, Family family, int profile) KOR_EXCLUDES(mutex_);

  // The network takes an up call down. False when it is not up.
  bool Drop(int32_t handle, Family family) KOR_EXCLUDES(mutex_);

  // The network is gone, or the modem: calls go down, those that are coming up fail. To be called when `in_service` has
  // become false.
  void DropAll(const CallEnd& end) KOR_EXCLUDES(mutex_);

 private:
  using Key = std::pair<int32_t, Family>;

  enum class Pending { kNone, kStart, kStop };

  // A call that is not plainly down.
  struct Call {
    uint64_t serial = 0;  // The latest request.
    int profile = 0;
    uint64_t life = 0;  // The request that began this life; those made in an earlier one have lost their meaning.
    Pending pending = Pending::kNone;
    bool gave_up = false;  // The stop that is pending found it coming up.
    bool up = false;
    int link = -1;  // -1 iff not up.
    CallConfig config;
    int not_ready = 0;  // Answers left that are kNotReady.
  };

  // What happens when a request's time has come; on the event thread.
  // `failure`: why it fails; without a text it does not.
  void FinishStart(const Key& key, uint64_t life, CallEnd failure) KOR_EXCLUDES(mutex_);
  void FinishStop(const Key& key, uint64_t life, const CallEnd& end) KOR_EXCLUDES(mutex_);
  void FinishByLoss(const Key& key, uint64_t life, const CallEnd& end) KOR_EXCLUDES(mutex_);
  void Report(const Key& key, CallEvent event, uint64_t serial, const CallEnd& end) KOR_EXCLUDES(mutex_);

  Call* FindLocked(const Key& key, uint64_t life) KOR_REQUIRES(mutex_);
  const Call* FindUpLocked(const Key& key) const KOR_REQUIRES(mutex_);
  bool BringUpLocked(const Key& key, Call& call) KOR_REQUIRES(mutex_);
  int ChooseLinkLocked(const Key& key) const KOR_REQUIRES(mutex_);
  DnsServers ServersLocked(const Key& key) const KOR_REQUIRES(mutex_);

  // Constant after construction.
  EventThread& events_;
  Links& links_;
  Faults& faults_;
  const std::function<bool()> in_service_;

  kor::util::Mutex mutex_{rank::kModem};
  ModemPort::CallReporter report_ KOR_GUARDED_BY(mutex_);
  Milliseconds connect_delay_ KOR_GUARDED_BY(mutex_){50};
  Milliseconds disconnect_delay_ KOR_GUARDED_BY(mutex_){20};
  int not_ready_queries_ KOR_GUARDED_BY(mutex_) = 0;
  std::map<Family, DnsServers> dns_ KOR_GUARDED_BY(mutex_) = {{Family::kIpv4, {"10.255.0.53", ""}},
                                                              {Family::kIpv6, {"fd64:ffff::53", ""}}};
  std::map<Key, DnsServers> call_dns_ KOR_GUARDED_BY(mutex_);
  std::map<Key, Call> calls_ KOR_GUARDED_BY(mutex_);
};

}  // namespace kor::modem
