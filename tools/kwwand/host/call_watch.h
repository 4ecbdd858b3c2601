// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <thread>
#include <vector>

#include "common/mutex.h"
#include "kwwand/host/event_json.h"
#include "kwwand/host/event_log.h"
#include "kwwand/host/reconnect_plan.h"
#include "kwwand/lock_ranks.h"

namespace kor::host {

// The thread that looks after the calls: it passes the logged events on to the sink, tells of states that have changed,
// and keeps up the calls of policies with auto-connect set (reconnect_plan.h). It asks the modem for states only after
// an event of the data side, after Wake(), and when an attempt is due; it waits for no call.
//
// Thread safety: Start() and Stop() by one thread, the rest by any. Suspend, Resume and Waits wait while a reconnect's
// request is being made.
class CallWatch {
 public:
  // All references outlive this.
  CallWatch(ReconnectPlan::Clock::duration backoff_min, ReconnectPlan::Clock::duration backoff_max, EventLog& log,
            EventSink& sink);
  ~CallWatch() { Stop(); }
  CallWatch(const CallWatch&) = delete;
  CallWatch& operator=(const CallWatch&) = delete;

  // `data` outlives the watch's thread.
  void Start(kor::wwan::DataManager& data);
  void Stop();

  // Something was changed that no event tells: look again.
  void Wake();

  // A person takes a call down, so that it is not to come up by itself; wants it up again.
  void Suspend(const ReconnectPlan::Key& key) KOR_EXCLUDES(plan_mutex_);
  void Resume(const ReconnectPlan::Key& key) KOR_EXCLUDES(plan_mutex_);
  std::vector<ReconnectPlan::Waiting> Waits() KOR_EXCLUDES(plan_mutex_);

  // Calls `listener` on the watch's thread whenever there are new events, until Unlisten() of the returned number has
  // returned. It must not block, nor call these two.
  uint64_t Listen(std::function<void()> listener) KOR_EXCLUDES(listeners_mutex_);
  void Unlisten(uint64_t number) KOR_EXCLUDES(listeners_mutex_);

 private:
  void Run();
  void Pass(bool& look);
  bool ReadCalls();
  void PublishEvents(const std::vector<SeenEvent>& events);
  void PublishStates();
  void CallListeners() KOR_EXCLUDES(listeners_mutex_);
  void KeepUp() KOR_EXCLUDES(plan_mutex_);
  void Perform(const ReconnectPlan::Action& action) KOR_REQUIRES(plan_mutex_);
  std::chrono::microseconds UntilDue() KOR_EXCLUDES(plan_mutex_);

  const ReconnectPlan::Clock::duration retry_;  // Before a modem that did not answer is asked again.
  EventLog& log_;
  EventSink& sink_;
  kor::wwan::DataManager* data_ = nullptr;

  // The watch thread's own.
  uint64_t from_ = 0;
  Policies policies_;
  std::vector<ReconnectPlan::Call> calls_;
  std::map<ReconnectPlan::Key, ConnectStatus> published_;

  kor::util::Mutex plan_mutex_{rank::kReconnectPlan};
  ReconnectPlan plan_ KOR_GUARDED_BY(plan_mutex_);

  kor::util::Mutex listeners_mutex_{rank::kListeners};
  std::map<uint64_t, std::function<void()>> listeners_ KOR_GUARDED_BY(listeners_mutex_);
  uint64_t next_listener_ KOR_GUARDED_BY(listeners_mutex_) = 0;

  std::atomic<bool> stop_{false};
  std::thread thread_;
};

}  // namespace kor::host
