// SPDX-License-Identifier: Apache-2.0
// What became of a connect or disconnect, and why: pure.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "common/result.h"
#include "kwwand/host/event_log.h"
#include "kwwand/host/words.h"
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

}  // namespace kor::host
