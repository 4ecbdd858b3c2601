// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "common/mutex.h"
#include "common/util/timer_manager.h"
#include "kwwand/host/event_log.h"
#include "kwwand/host/lan_change.h"
#include "kwwand/lock_ranks.h"

namespace kor::host {

// The LAN as it was before a change that waits for its confirmation, in a file: the next host finds it there when this
// one is killed meanwhile.
//
// Thread safety: none.
class LanJournal {
 public:
  // An empty path: nothing is kept.
  explicit LanJournal(std::string path) : path_(std::move(path)) {}

  // Throws RequestError when it cannot be written; then nothing is kept.
  void Keep(const LanConfig& before);

  // False, and the log says why, when the file cannot be removed.
  bool Forget();

  // Nothing when there is no file, or, with a line in the log, when it is another user's or its LAN is invalid.
  std::optional<LanConfig> Kept() const;

 private:
  std::string path_;
};

// Changes the LAN, each change in one write, and rolls back one that is not confirmed in time: who changes the address
// that he is connected to may lock himself out. The journal makes that hold for a host that is killed meanwhile too:
// the next one rolls the change back.
//
// Thread safety: all operations may be called from any thread, and run one after another.
class LanGuard {
 public:
  LanGuard(EventSink& sink, const std::string& journal) : sink_(sink), journal_(journal) {}
  LanGuard(const LanGuard&) = delete;
  LanGuard& operator=(const LanGuard&) = delete;

  struct State {
    LanConfig lan;
    std::optional<double> confirm_in_s;  // Until an open change is taken back.
  };

  // For the start of the host: takes back what one that was killed has left open, without throwing.
  void Recover() KOR_EXCLUDES(mutex_);

  // All of these throw RequestError: when the LAN cannot be read or written, and for their own reasons.
  State Show() KOR_EXCLUDES(mutex_);

  // With `confirm`: for so long only, unless Confirm() comes. Refused while another change is open. After a write that
  // failed what was there is written back.
  State Set(const LanChange& change, std::optional<std::chrono::seconds> confirm) KOR_EXCLUDES(mutex_);

  // Both are refused while no change is open.
  State Confirm() KOR_EXCLUDES(mutex_);
  State RollBack(const char* why) KOR_EXCLUDES(mutex_);

  // For the end of the host: takes an open change back, without throwing.
  void Close() KOR_EXCLUDES(mutex_);

 private:
  struct Open {
    uint64_t number = 0;
    LanConfig before;
    std::chrono::steady_clock::time_point end;
  };

  State ShowLocked() KOR_REQUIRES(mutex_);
  bool OpenFor(std::chrono::seconds delay, const LanConfig& before) KOR_REQUIRES(mutex_);
  bool RollBackLocked(const char* why) KOR_REQUIRES(mutex_);
  bool TimeIsUp(uint64_t number) KOR_EXCLUDES(mutex_);

  EventSink& sink_;
  kor::util::Mutex mutex_{rank::kLanGuard};
  LanJournal journal_ KOR_GUARDED_BY(mutex_);
  kor::wwan::MobileapManager lan_ KOR_GUARDED_BY(mutex_);
  std::optional<Open> open_ KOR_GUARDED_BY(mutex_);
  uint64_t changes_ KOR_GUARDED_BY(mutex_) = 0;
  kor::util::TimerManager timer_;  // Last: its thread uses the rest.
};

}  // namespace kor::host
