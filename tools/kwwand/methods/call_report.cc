// SPDX-License-Identifier: Apache-2.0
#include "kwwand/methods/call_report.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "kwwand/host/event_json.h"
#include "kwwand/host/words.h"

namespace kor::host {

namespace {

using std::chrono::milliseconds;
using TimePoint = std::chrono::steady_clock::time_point;

// The library waits 10 seconds for an outcome; a result that comes earlier is not a time-out.
constexpr milliseconds kBudget{9900};

int64_t MsFromStart(const CallStory& story, TimePoint at) {
  return std::max<int64_t>(0, std::chrono::duration_cast<milliseconds>(at - story.start).count());
}

std::string Seconds(int64_t ms) {
  char text[32];
  snprintf(text, sizeof(text), "%.1f s", static_cast<double>(ms) / 1000);
  return text;
}

Json Step(int64_t at_ms, const char* step, const std::string& text) {
  return {{"at_ms", at_ms}, {"step", step}, {"text", text}};
}

// Whether anything was sent to the modem: the library sends nothing for a call that is there already, nor asks to
// connect one that is on its way up or down.
bool Asked(const CallStory& story) {
  if (story.up) return story.before == ConnectStatus::kDisconnected || story.before == ConnectStatus::kNone;
  return story.before != ConnectStatus::kDisconnected;
}

// What the events say, one by one.
struct Findings {
  std::optional<int64_t> confirmed_ms;
  std::optional<int64_t> failed_ms;
  std::optional<int64_t> dns_ms;
  std::vector<Json> steps;
  std::vector<Json> ignored;
};

// Why an event of the data side says nothing about the call; null when it does.
const char* WhyIgnored(const CallStory& story, const kor::util::EventDic& event) {
  if (!IsCallEvent(event.event)) return "not a call event";
  const auto handle = HandleOf(event);
  if (!handle) return "its handle is not a number";
  if (*handle != story.handle) return "for another call";
  if (FamilyOf(event) != story.family) return "for the other family";
  const bool about_up = event.event == kor::util::kEvtWwanConnected || event.event == kor::util::kEvtWwanConnectFailed;
  if (about_up != story.up) return story.up ? "not about a connect" : "not about a disconnect";
  return nullptr;
}

Json Ignored(const CallStory& story, const SeenEvent& seen, const char* why) {
  const auto handle = HandleOf(seen.event);
  const auto family = FamilyOf(seen.event);
  return {{"at_ms", MsFromStart(story, seen.at)},
          {"event", EventCode(seen.event.event)},
          {"handle", handle ? Json(*handle) : Json()},
          {"family", family ? Json(TextOf(kCallFamilies, *family)) : Json()},
          {"why", why}};
}

void TakeCallEvent(const CallStory& story, const SeenEvent& seen, Findings& found) {
  const uint32_t event = seen.event.event;
  const int64_t at_ms = MsFromStart(story, seen.at);
  const bool good = event == kor::util::kEvtWwanConnected || event == kor::util::kEvtWwanDisconnected;
  std::optional<int64_t>& when = good ? found.confirmed_ms : found.failed_ms;
  if (when) return;
  when = at_ms;
  const std::string what = story.up ? "the call" : "that the call is down";
  found.steps.push_back(Step(at_ms, "modem", good ? "the modem confirms " + what : "the modem reports a failure"));
}

void TakeDnsEvent(const CallStory& story, const SeenEvent& seen, Findings& found) {
  const int64_t at_ms = MsFromStart(story, seen.at);
  if (!story.up) return found.ignored.push_back(Ignored(story, seen, "a disconnect does not wait for it"));
  if (found.dns_ms) return;
  found.dns_ms = at_ms;
  std::string servers;
  for (const std::string& server : seen.servers) servers += (servers.empty() ? ": " : ", ") + server;
  found.steps.push_back(
      Step(at_ms, "dns", "the list of DNS servers is written" + (servers.empty() ? ", and is empty" : servers)));
}

std::string RequestText(const CallStory& story) {
  const std::string call = "policy " + std::to_string(story.index) + ", " + TextOf(kCallFamilies, story.family) + ", ";
  return call + (story.up ? "connect requested; the call is " : "disconnect requested; the call is ") +
         TextOf(kStates, story.before);
}

Findings Look(const CallStory& story) {
  Findings found;
  found.steps.push_back(Step(0, "request", RequestText(story)));
  for (const SeenEvent& seen : story.events) {
    if (seen.source == Source::kDns) TakeDnsEvent(story, seen, found);
    if (seen.source != Source::kData) continue;
    const char* const why = WhyIgnored(story, seen.event);
    if (why != nullptr) {
      found.ignored.push_back(Ignored(story, seen, why));
    } else {
      TakeCallEvent(story, seen, found);
    }
  }
  if (story.end) {
    const std::string state = "the call is " + TextOf(kStates, story.end->after);
    found.steps.push_back(Step(MsFromStart(story, story.end->at), "end", state));
  }
  return found;
}

// Whether the wait inside the library ran to its end.
bool RanOut(const CallStory& story, const Findings& found) {
  return story.waited && Asked(story) && story.end->result == kor::Result::kFailure && !found.failed_ms &&
         story.end->at - story.start >= kBudget;
}

// Whether the modem said no to the request itself.
bool Refused(const CallStory& story, const Findings& found) {
  return Asked(story) && story.end->result != kor::Result::kSuccess && !found.failed_ms && !RanOut(story, found);
}

const char* ModemHalf(const CallStory& story, const Findings& found) {
  if (!Asked(story)) return "not needed";
  if (found.failed_ms || Refused(story, found)) return "failed";
  if (found.confirmed_ms) return "confirmed";
  return story.waited ? "missing" : "not needed";
}

const char* DnsHalf(const CallStory& story, const Findings& found) {
  if (!story.up || !Asked(story) || !story.waited || found.failed_ms || Refused(story, found)) return "not needed";
  return found.dns_ms ? "updated" : "missing";
}

std::string NotAskedText(const CallStory& story) {
  switch (story.before) {
    case ConnectStatus::kConnecting:
      return "The call is connecting already; wait for it, or take it down first.";
    case ConnectStatus::kDisconnecting:
      return "The call is still going down; ask again when it is down.";
    default:
      return std::string("The call was ") + (story.up ? "up" : "down") + " already; nothing was sent to the modem.";
  }
}

std::string RanOutText(const CallStory& story, const Findings& found) {
  const std::string within = " did not come within 10 s";
  if (!story.up) return "The modem's confirmation" + within + "; the call may still go down.";
  if (found.confirmed_ms) {
    return "The modem confirmed the call after " + Seconds(*found.confirmed_ms) + "; the DNS update" + within +
           ": is the DNS service running?";
  }
  const std::string dns = found.dns_ms ? "the DNS update came after " + Seconds(*found.dns_ms) : "nor did a DNS update";
  return "The modem's confirmation" + within + "; " + dns + ". The call may still come up.";
}

std::string DoneText(const CallStory& story, const Findings& found) {
  if (!story.waited) return "The modem accepted the request; its outcome was not waited for.";
  const std::string what = story.up ? "the call" : "that the call is down";
  std::string text = "The modem confirmed " + what + " after " + Seconds(found.confirmed_ms.value_or(0));
  if (found.dns_ms) text += "; the list of DNS servers was written after " + Seconds(*found.dns_ms);
  return text + ".";
}

std::string Summary(const CallStory& story, const Findings& found) {
  if (!Asked(story)) return NotAskedText(story);
  if (story.end->result == kor::Result::kSuccess) return DoneText(story, found);
  if (found.failed_ms) return "The modem reported a failure after " + Seconds(*found.failed_ms) + ".";
  if (RanOut(story, found)) return RanOutText(story, found);
  return "The request was refused: " + (story.end->hint.empty() ? ResultText(story.end->result) : story.end->hint) +
         ".";
}

}  // namespace

std::vector<Json> Steps(const CallStory& story) { return Look(story).steps; }

Json Explain(const CallStory& story) {
  const Findings found = Look(story);
  return {{"before", TextOf(kStates, story.before)},
          {"after", TextOf(kStates, story.end->after)},
          {"took_ms", MsFromStart(story, story.end->at)},
          {"modem", ModemHalf(story, found)},
          {"dns", DnsHalf(story, found)},
          {"steps", found.steps},
          {"ignored", found.ignored},
          {"summary", Summary(story, found)}};
}

int AnswerCode(const CallStory& story) {
  const kor::Result result = RanOut(story, Look(story)) ? kor::Result::kTimeout : story.end->result;
  return static_cast<int>(result);
}

CallReport::CallReport(EventLog& log, CallWatch& watch, CallStory story, std::function<void(const Json&)> progress)
    : log_(log), watch_(watch), progress_(std::move(progress)), story_(std::move(story)), from_(log.Next()) {
  story_.start = std::chrono::steady_clock::now();
  TellNew();
  listener_ = watch_.Listen([this] { TellNew(); });
}

CallReport::~CallReport() { watch_.Unlisten(listener_); }

void CallReport::Serve(uint32_t index, int32_t handle) {
  kor::util::MutexLock lock(mutex_);
  story_.index = index;
  story_.handle = handle;
}

CallStory CallReport::Finish(CallStory::End end) {
  kor::util::MutexLock lock(mutex_);
  end.at = std::chrono::steady_clock::now();
  TellNewLocked();
  story_.end = std::move(end);
  TellNewLocked();
  return story_;
}

void CallReport::TellNew() {
  kor::util::MutexLock lock(mutex_);
  if (!story_.end) TellNewLocked();
}

void CallReport::TellNewLocked() {
  if (!story_.end) {
    for (SeenEvent& seen : log_.Since(from_)) story_.events.push_back(std::move(seen));
  }
  if (!progress_) return;
  const std::vector<Json> steps = Steps(story_);
  for (; told_ < steps.size(); ++told_) progress_(steps[told_]);
}

}  // namespace kor::host
