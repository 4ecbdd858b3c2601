// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>

#include "common/condition.h"
#include "common/mutex.h"
#include "common/vendor/lock_ranks.h"
#include "port/modem_port.h"
#include "router/policy_table.h"
#include "router/reconnect_plan.h"

namespace kor::vendor::qcom::qcmap {

// The waits between the attempts to connect a call, from the environment: KWWAN_BACKOFF_MS, "MIN MAX" in milliseconds,
// 1000 and 60000 unless set.
struct Backoff {
  static Backoff FromEnvironment();

  std::chrono::milliseconds min{1000};
  std::chrono::milliseconds max{60000};
};

// Keeps up the calls that are to connect by themselves (reconnect_plan.h), on a thread of its own, which begins with
// the first policy that asks for it, or when a modem comes, whose calls it takes over first. It takes no signals,
// sleeps while nothing is due, and rests while there is no modem.
//
// Thread safety: Start() once, the rest from any thread.
//
// Lifetime: once Start() has been called, never destroyed. The thread is alive until the process ends.
class AutoConnect {
 public:
  using Tell = std::function<void(const ReconnectPlan::Waiting& waiting)>;

  // Both must outlive this object.
  AutoConnect(kor::modem::ModemPort& port, PolicyTable& policies, Backoff backoff)
      : port_(port), policies_(policies), plan_(backoff.min, backoff.max) {}

  // From now on. `tell` is called on the thread when a call begins to wait for its next attempt.
  void Start(Tell tell) KOR_EXCLUDES(mutex_);

  // Something has changed: a call, a switch, the modem.
  void Look() KOR_EXCLUDES(mutex_);
  void ModemHasCome() KOR_EXCLUDES(mutex_);

 private:
  void LookLocked() KOR_REQUIRES(mutex_);
  [[noreturn]] void Run();
  bool Wait() KOR_EXCLUDES(mutex_);
  void Pass();
  void Perform(const ReconnectPlan::Action& action);

  // Constant once there is the thread.
  kor::modem::ModemPort& port_;
  PolicyTable& policies_;
  Tell tell_;

  ReconnectPlan plan_;  // The thread's own.

  kor::util::Mutex mutex_{rank::kAutoConnect};
  kor::util::Condition cond_;  // Signalled when there is something to look at.
  bool started_ KOR_GUARDED_BY(mutex_) = false;
  bool running_ KOR_GUARDED_BY(mutex_) = false;  // There is a thread.
  bool look_ KOR_GUARDED_BY(mutex_) = false;
  bool has_come_ KOR_GUARDED_BY(mutex_) = false;  // A modem whose calls have not been taken over.
};

}  // namespace kor::vendor::qcom::qcmap
