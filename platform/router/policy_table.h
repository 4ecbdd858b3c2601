// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "common/ip_family.h"
#include "common/mutex.h"
#include "common/result.h"
#include "common/vendor/lock_ranks.h"
#include "port/modem_port.h"
#include "wwan/data_manager.h"

namespace kor::vendor::qcom::qcmap {

// The WWAN policies, the state of each policy's two calls and the host's wishes for them. Index: position in the table.
//
//   disconnected --Connect--> connecting --kConnected--> connected --Disconnect--> disconnecting --kDisconnected-->
//   disconnected. A failed connect leads to disconnected; a failed disconnect back to what was before it.
//
// A report tells whether the call is up, and answers the requests that the modem had taken by then. A request that came
// after it stays unanswered, however late the report is.
//
// Thread safety: all operations may be called from any thread. The table's lock is held while a request is handed to
// the modem, so that its outcome finds the state that the request has set; a report comes without it.
class PolicyTable {
 public:
  using WwanPolicy = kor::wwan::DataManager::WwanPolicy;
  using ConnectStatus = kor::wwan::DataManager::ConnectStatus;

  // Starts with one policy: profile 1 for both families, handle 100. `port` must outlive this object.
  explicit PolicyTable(kor::modem::ModemPort& port) : port_(port), entries_(1) {}

  std::vector<WwanPolicy> List() KOR_EXCLUDES(mutex_);

  // Each returns false when `index` has no policy.
  bool Get(uint32_t index, WwanPolicy& policy) KOR_EXCLUDES(mutex_);
  // The handle stays; calls that are up stay as they are.
  bool Set(uint32_t index, const WwanPolicy& policy) KOR_EXCLUDES(mutex_);
  bool GetStatus(uint32_t index, ConnectStatus& ipv4, ConnectStatus& ipv6) KOR_EXCLUDES(mutex_);
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

  // Removes one; later ones move down. False also while a call of it is not disconnected.
  bool Delete(uint32_t index) KOR_EXCLUDES(mutex_);

  // Hands the request to the modem and follows with the state when it is accepted. kFailure without asking the modem:
  // no such policy or not one family; Connect also: a family that the policy has not or that is switched off, or
  // roaming where it must not.
  kor::Result Connect(uint32_t index, kor::util::IPFamily family) KOR_EXCLUDES(mutex_);
  kor::Result Disconnect(uint32_t index, kor::util::IPFamily family) KOR_EXCLUDES(mutex_);

  // Takes a report of the modem in; an unknown handle changes nothing.
  void Apply(int32_t handle, kor::util::IPFamily family, kor::modem::CallEvent event, uint64_t serial)
      KOR_EXCLUDES(mutex_);

  static constexpr size_t kMaxPolicies = 256;  // As many as DeleteWwanPolicy can name.

 private:
  static constexpr int32_t kFirstHandle = 100;

  struct CallState {
    bool enabled = true;
    bool up = false;     // As last reported.
    uint64_t start = 0;  // The serials of the start and of the stop that are not answered yet; 0: none.
    uint64_t stop = 0;
  };

  struct Entry {
    WwanPolicy policy{1, 1, kor::wwan::Tech::kAny, kor::util::IPFamily::kBoth, kFirstHandle};
    bool auto_connect = false;
    bool roaming = true;
    CallState ipv4;
    CallState ipv6;
  };

  static CallState& StateOf(Entry& entry, kor::util::IPFamily family);
  static ConnectStatus StatusOf(const CallState& state);
  static void Take(CallState& state, kor::modem::CallEvent event, uint64_t serial);
  Entry* FindLocked(uint32_t index) KOR_REQUIRES(mutex_);
  kor::Result StopLocked(Entry& entry, kor::util::IPFamily family) KOR_REQUIRES(mutex_);

  kor::modem::ModemPort& port_;

  kor::util::Mutex mutex_{rank::kPolicies};
  std::vector<Entry> entries_ KOR_GUARDED_BY(mutex_);
  int32_t next_handle_ KOR_GUARDED_BY(mutex_) = kFirstHandle + 1;
  uint64_t last_serial_ KOR_GUARDED_BY(mutex_) = 0;
};

}  // namespace kor::vendor::qcom::qcmap
