// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <thread>
#include <utility>
#include <vector>

#include "common/mutex.h"
#include "kwwand/host/event_json.h"
#include "kwwand/host/event_log.h"
#include "kwwand/lock_ranks.h"

namespace kor::host {

// The thread that watches the calls: it passes the logged events on to the sink, tells of states that have changed, and
// knows which calls wait for the router to connect them. It asks for states only after an event of the data side and
// after Wake(); it waits for no call.
//
// Thread safety: Start() and Stop() by one thread, the rest by any.
class CallWatch {
 public:
  // A call that is down and will be connected by itself.
  struct Waiting {
    uint32_t index = 0;
    IPFamily family = IPFamily::kIpv4;
    int attempt = 0;
    std::chrono::steady_clock::time_point next;
  };

  // Both outlive this.
  CallWatch(EventLog& log, EventSink& sink) : log_(log), sink_(sink) {}
  ~CallWatch() { Stop(); }
  CallWatch(const CallWatch&) = delete;
  CallWatch& operator=(const CallWatch&) = delete;

  // `data` outlives the watch's thread.
  void Start(kor::wwan::DataManager& data);
  void Stop();

  // Something was changed that no event tells: look again.
  void Wake();

  std::vector<Waiting> Waits() KOR_EXCLUDES(waits_mutex_);

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
  void NoteWaits(const std::vector<SeenEvent>& events) KOR_EXCLUDES(waits_mutex_);

  using Key = std::pair<int32_t, IPFamily>;  // A policy's handle, and which of its calls.
  struct Call {
    uint32_t index = 0;
    ConnectStatus state = ConnectStatus::kNone;
  };

  EventLog& log_;
  EventSink& sink_;
  kor::wwan::DataManager* data_ = nullptr;

  // The watch thread's own.
  uint64_t from_ = 0;
  Policies policies_;
  std::map<Key, Call> calls_;
  std::map<Key, ConnectStatus> published_;

  kor::util::Mutex waits_mutex_{rank::kCallWaits};
  std::map<Key, Waiting> waits_ KOR_GUARDED_BY(waits_mutex_);

  kor::util::Mutex listeners_mutex_{rank::kListeners};
  std::map<uint64_t, std::function<void()>> listeners_ KOR_GUARDED_BY(listeners_mutex_);
  uint64_t next_listener_ KOR_GUARDED_BY(listeners_mutex_) = 0;

  std::atomic<bool> stop_{false};
  std::thread thread_;
};

}  // namespace kor::host
