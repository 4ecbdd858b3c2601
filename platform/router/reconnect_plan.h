// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "common/ip_family.h"
#include "wwan/data_manager.h"

namespace kor::vendor::qcom::qcmap {

// Which calls are to be connected by themselves, and when: pure, fed with states and the time.
//
// A call that is wanted and down is tried at once when it is seen for the first time, else after a wait: `min` after it
// has left the connected state, twice as long after each attempt that came to nothing, at most `max`; being connected
// ends that. States alone decide, so it does not matter which events came between. A call that is disconnecting is no
// failure: it is looked at again after `min`. One that is connecting for a minute is taken down, so that the next
// attempt can be made.
//
// Thread safety: none.
class ReconnectPlan {
 public:
  using Clock = std::chrono::steady_clock;
  using ConnectStatus = kor::wwan::DataManager::ConnectStatus;
  using Key = std::pair<int32_t, kor::util::IPFamily>;  // The policy's handle: indices move when a policy is deleted.

  struct Call {
    Key key;
    bool wanted = false;  // Connects by itself.
    ConnectStatus state = ConnectStatus::kNone;
  };

  struct Action {
    enum Kind { kConnect, kDisconnect } kind = kConnect;
    Key key;
  };

  struct Waiting {
    Key key;
    int attempt = 0;  // 1 for the first after the call went down; 0 for the very first.
    Clock::duration left{};
  };

  ReconnectPlan(Clock::duration min, Clock::duration max) : min_(min), max_(max) {}

  // All calls as they are now; those that are not listed are forgotten.
  void Update(const std::vector<Call>& calls, Clock::time_point now);

  // What is due. Each kConnect is answered by Tried().
  std::vector<Action> Due(Clock::time_point now);

  // A request was made for `key`: whether the modem took it, and the call's state after it.
  void Tried(const Key& key, bool taken, ConnectStatus state, Clock::time_point now);

  // Every call is seen for the first time again.
  void Forget() { entries_.clear(); }

  // When Due() has something next.
  std::optional<Clock::time_point> Next() const;

  // The waits that began since the last call.
  std::vector<Waiting> TakeScheduled(Clock::time_point now);

 private:
  enum class Phase { kUp, kWaiting, kTrying };
  struct Entry {
    ConnectStatus state = ConnectStatus::kNone;
    Phase phase = Phase::kWaiting;
    int attempt = 0;          // Waits since the call was last connected.
    Clock::time_point due{};  // kWaiting: of the attempt; kTrying: of its end.
    bool scheduled = false;   // A wait began that TakeScheduled() has not told.
  };

  void Schedule(Entry& entry, Clock::time_point now) const;
  void Follow(Entry& entry, ConnectStatus state, Clock::time_point now) const;

  const Clock::duration min_;
  const Clock::duration max_;
  std::map<Key, Entry> entries_;
};

}  // namespace kor::vendor::qcom::qcmap
