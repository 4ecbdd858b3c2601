// SPDX-License-Identifier: Apache-2.0
// What became of a connect or disconnect, and why.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "common/mutex.h"
#include "common/result.h"
#include "kwwand/host/call_watch.h"
#include "kwwand/host/event_log.h"
#include "kwwand/host/words.h"
#include "kwwand/lock_ranks.h"
#include "kwwand/wire/method.h"

namespace kor::host {

// One request to bring a call up or down, and everything seen while it ran.
struct CallStory {
  bool up = true;  // Else: down.
  uint32_t index = 0;
  int32_t handle = 0;  // The policy's.
  IPFamily family = IPFamily::kIpv4;
  bool waited = true;  // For the outcome.
  ConnectStatus before = ConnectStatus::kNone;
  std::chrono::steady_clock::time_point start;
  std::vector<SeenEvent> events;  // From the start on, oldest first.

  // When it is over:
  struct End {
    std::chrono::steady_clock::time_point at;
    kor::Result result = kor::Result::kFailure;
    ConnectStatus after = ConnectStatus::kNone;
    std::string hint;  // Of the policy: what makes the modem refuse the request; empty when nothing is known.
  };
  std::optional<End> end;
};

// What is known so far, one {"at_ms","step","text"} a step: "request", "modem", "dns", "end". Events that come later
// only add steps.
std::vector<Json> Steps(const CallStory& story);

// The report of a story that is over:
//   before, after   the call's states
//   took_ms         from the request to the result
//   modem           "confirmed", "failed", "missing", or "not needed": it was not asked, or not waited for
//   dns             the other half of a connect: "updated", "missing", or "not needed": nothing was waiting for it
//   steps, ignored  the events that counted; those that did not, each with the reason
//   summary         all that in a sentence
Json Explain(const CallStory& story);

// The result's code, but kTimeout when the library gave up waiting (its own result does not tell).
int AnswerCode(const CallStory& story);

// A request to bring a call up or down while it runs: collects the story, and tells each step to `progress` (when not
// empty) as it happens, on whatever thread; not after Finish().
class CallReport {
 public:
  // The story starts now. `log` and `watch` outlive this.
  CallReport(EventLog& log, CallWatch& watch, CallStory story, std::function<void(const Json&)> progress);
  ~CallReport();
  CallReport(const CallReport&) = delete;
  CallReport& operator=(const CallReport&) = delete;

  // The policy turned out to be this one.
  void Serve(uint32_t index, int32_t handle) KOR_EXCLUDES(mutex_);

  // The story with its end, whose time is set to now.
  CallStory Finish(CallStory::End end) KOR_EXCLUDES(mutex_);

 private:
  void TellNew() KOR_EXCLUDES(mutex_);
  void TellNewLocked() KOR_REQUIRES(mutex_);

  EventLog& log_;
  CallWatch& watch_;
  const std::function<void(const Json&)> progress_;
  kor::util::Mutex mutex_{rank::kCallReport};
  CallStory story_ KOR_GUARDED_BY(mutex_);
  uint64_t from_ KOR_GUARDED_BY(mutex_);
  size_t told_ KOR_GUARDED_BY(mutex_) = 0;
  uint64_t listener_;
};

}  // namespace kor::host
