// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "common/condition.h"
#include "common/ip_family.h"
#include "common/mutex.h"
#include "common/result.h"
#include "common/vendor/lock_ranks.h"
#include "port/modem_port.h"
#include "router/reconnect_plan.h"
#include "router/router_state.h"
#include "wwan/data_manager.h"

namespace kor::vendor::qcom::qcmap {

// The WWAN policies, the state of each policy's two calls and the host's wishes for them. Index: position in the table.
//
//   disconnected --Connect--> connecting --kConnected--> connected --Disconnect--> disconnecting --kDisconnected-->
//   disconnected. A failed connect leads to disconnected; a failed disconnect back to what was before it.
//
// A call that is down and to be connected by itself is kNone, not kDisconnected, so that the library lets both a
// connect and a disconnect through: that one suspends it, until a connect or SetAutoConnect().
//
// A report tells whether the call is up, and answers the requests that the modem had taken by then. A request that came
// after it stays unanswered, however late the report is.
//
// Thread safety: all operations may be called from any thread. No lock is held while a request is handed to the modem;
// requests go there one at a time, in the order of their serials, and a second one waits for its turn. A report may
// overtake the return of its request.
class PolicyTable {
 public:
  using WwanPolicy = kor::wwan::DataManager::WwanPolicy;
  using ConnectStatus = kor::wwan::DataManager::ConnectStatus;

  // What has changed: something that is kept over a restart, or only the state of a call.
  enum class Change { kKept, kState };
  using Changed = std::function<void(Change)>;

  // `changed` is called after each change, without a lock held. `port` must outlive this object.
  PolicyTable(kor::modem::ModemPort& port, const RouterState& state, Changed changed);

  // The policies, as they are to be kept; of the LAN nothing.
  RouterState Snapshot() KOR_EXCLUDES(mutex_);

  std::vector<WwanPolicy> List() KOR_EXCLUDES(mutex_);

  // Each returns false when `index` has no policy.
  bool Get(uint32_t index, WwanPolicy& policy) KOR_EXCLUDES(mutex_);
  // The handle stays; calls that are up stay as they are.
  bool Set(uint32_t index, const WwanPolicy& policy) KOR_EXCLUDES(mutex_);
  bool GetStatus(uint32_t index, ConnectStatus& ipv4, ConnectStatus& ipv6) KOR_EXCLUDES(mutex_);
  // The policy's handle while the modem may have its call of that family, a request on its way included; else 0, also
  // when there is no such policy.
  int32_t HandleToAsk(uint32_t index, kor::util::IPFamily family) KOR_EXCLUDES(mutex_);
  bool SetAutoConnect(uint32_t index, bool enable) KOR_EXCLUDES(mutex_);
  bool GetAutoConnect(uint32_t index, bool& enabled) KOR_EXCLUDES(mutex_);
  bool SetRoaming(uint32_t index, bool enable) KOR_EXCLUDES(mutex_);
  bool GetRoaming(uint32_t index, bool& enabled) KOR_EXCLUDES(mutex_);

  // The switch of one family. A call that is up or coming up when its family is switched off is taken down. When the
  // modem refuses that, the result is false and the family stays on; when it fails later, the family is on again.
  bool SetEnabled(uint32_t index, kor::util::IPFamily family, bool enable) KOR_EXCLUDES(mutex_);
  bool GetEnabled(uint32_t index, kor::util::IPFamily family, bool& enabled) KOR_EXCLUDES(mutex_);

  // Appends a policy under the next handle. False when there are kMaxPolicies.
  bool Create(const WwanPolicy& policy) KOR_EXCLUDES(mutex_);

  // Removes one; later ones move down. False also while a call of it is not down, or a request for one is on its way.
  // Does not tell of it: whoever deletes does.
  bool Delete(uint32_t index) KOR_EXCLUDES(mutex_);

  // Hands the request to the modem and follows with the state when it is accepted. kFailure without asking the modem:
  // no such policy or not one family; Connect also: a family that the policy has not or that is switched off, or
  // roaming where it must not.
  kor::Result Connect(uint32_t index, kor::util::IPFamily family) KOR_EXCLUDES(mutex_);
  kor::Result Disconnect(uint32_t index, kor::util::IPFamily family) KOR_EXCLUDES(mutex_);

  // For what connects by itself: all calls; whether a policy asks for it at all; a call's state; a connect, which is
  // refused unless the call is still wanted and down; and a disconnect that suspends nothing.
  std::vector<ReconnectPlan::Call> Calls() KOR_EXCLUDES(mutex_);
  bool WantsAny() KOR_EXCLUDES(mutex_);
  ConnectStatus StateOf(const ReconnectPlan::Key& key) KOR_EXCLUDES(mutex_);
  kor::Result Reconnect(const ReconnectPlan::Key& key) { return Start(key, Why::kByItself); }
  kor::Result TakeBack(const ReconnectPlan::Key& key) { return End(key, false); }

  // Asks the modem for the calls that it has up, and makes them the policies': those of their handles or, where the
  // modem has lost these, of their families and profiles. One that no policy can have is stopped, as nobody else could.
  // A call that was asked for or reported meanwhile is as that says: the answer is older. A round trip.
  void TakeOverCalls() KOR_EXCLUDES(mutex_);

  // Takes a report of the modem in; an unknown handle changes nothing.
  void Apply(int32_t handle, kor::util::IPFamily family, kor::modem::CallEvent event, uint64_t serial)
      KOR_EXCLUDES(mutex_);

 private:
  // The serials of the latest start and of the latest stop that the modem has accepted, and of those that are answered:
  // by a report, or because the modem has given them up.
  struct CallState {
    bool up = false;         // As last reported.
    bool suspended = false;  // Not to be connected by itself.
    uint64_t start = 0;
    uint64_t start_answered = 0;
    uint64_t stop = 0;
    uint64_t stop_answered = 0;
    uint64_t told = 0;  // The number of the latest report.

    bool starts() const { return start > start_answered; }
    bool stops() const { return stop > stop_answered; }
    bool down() const { return !up && !starts() && !stops(); }
    bool untouched_since(uint64_t serial) const { return std::max({start, stop, told}) <= serial; }
  };

  struct Entry {
    PolicyState kept;
    CallState ipv4;
    CallState ipv6;

    bool& enabled(kor::util::IPFamily family) { return family == kor::util::IPFamily::kIpv4 ? kept.ipv4 : kept.ipv6; }
    CallState& call(kor::util::IPFamily family) { return family == kor::util::IPFamily::kIpv4 ? ipv4 : ipv6; }
  };

  class Turn;

  // Who starts a call: the host, the router by itself, or the modem, which has it up.
  enum class Why { kAsked, kByItself, kRuns };

  static bool Serves(Entry& entry, kor::util::IPFamily family);
  static bool Wanted(Entry& entry, kor::util::IPFamily family);
  static bool LivesOn(const CallState& call);
  static ConnectStatus StatusOf(Entry& entry, kor::util::IPFamily family);
  Entry* FindLocked(uint32_t index) KOR_REQUIRES(mutex_);
  Entry* FindHandleLocked(int32_t handle) KOR_REQUIRES(mutex_);
  Entry* FindRunningLocked(const kor::modem::RunningCall& running) KOR_REQUIRES(mutex_);
  template <typename Edit>
  bool EditKept(uint32_t index, Edit edit) KOR_EXCLUDES(mutex_);
  kor::Result Start(const ReconnectPlan::Key& key, Why why) KOR_EXCLUDES(mutex_);
  kor::Result End(const ReconnectPlan::Key& key, bool suspends) KOR_EXCLUDES(mutex_);
  void Suspend(const ReconnectPlan::Key& key, bool refused) KOR_EXCLUDES(mutex_);
  void TakeOver(const kor::modem::RunningCall& running, uint64_t before) KOR_EXCLUDES(mutex_);

  // With the turn taken, and before others are told.
  bool Switch(uint32_t index, kor::util::IPFamily family, bool enable) KOR_EXCLUDES(mutex_);
  kor::Result HandOverStart(const Turn& turn, const ReconnectPlan::Key& key, Why why) KOR_EXCLUDES(mutex_);
  kor::Result HandOverStop(const Turn& turn, const ReconnectPlan::Key& key) KOR_EXCLUDES(mutex_);

  // Constant after construction.
  kor::modem::ModemPort& port_;
  const Changed changed_;

  kor::util::Mutex mutex_{rank::kPolicies};
  std::vector<Entry> entries_ KOR_GUARDED_BY(mutex_);
  int32_t next_handle_ KOR_GUARDED_BY(mutex_);
  uint64_t last_serial_ KOR_GUARDED_BY(mutex_) = 0;  // Of requests, and the number of the latest report.
  bool taken_ KOR_GUARDED_BY(mutex_) = false;        // The turn.
  int32_t asked_ KOR_GUARDED_BY(mutex_) = 0;         // The handle whose request is on its way; 0: none.
  kor::util::Condition turn_cond_;                   // Signalled when the turn is given back.
};

}  // namespace kor::vendor::qcom::qcmap
