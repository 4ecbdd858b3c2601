// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "common/mutex.h"
#include "common/result.h"
#include "port/lock_ranks.h"

namespace kor::modem {

// The operations of the port that can be made to fail, separated by blanks.
extern const char kOperationNames[];
bool IsOperation(const std::string& name);

// What goes wrong in the modem on order, and the record of what was asked of it.
//
// Thread safety: all operations may be called from any thread.
class Faults {
 public:
  using Milliseconds = std::chrono::milliseconds;

  enum Kind { kConnectFails, kDisconnectFails, kIgnoredRequest, kLostReport, kAnswerFails, kKinds };

  // After `good` more operations of that name, the next `count` end with `result`; replaces what was said of it before.
  // False, and nothing changes, when there is no such operation.
  bool FailNext(const std::string& name, int count, kor::Result result, int good) KOR_EXCLUDES(mutex_);

  // What a round trip takes from now on: those of that name, or of all that have no time of their own. False, and
  // nothing changes, when there is no such operation.
  bool SetDelay(const std::string& name, Milliseconds delay) KOR_EXCLUDES(mutex_);
  void SetDelay(Milliseconds delay) KOR_EXCLUDES(mutex_);

  // The next `count` occasions of that kind go wrong. Take: whether this one does.
  void Set(Kind kind, int count) KOR_EXCLUDES(mutex_);
  bool Take(Kind kind) KOR_EXCLUDES(mutex_);

  // Whether operations are written down; they are not from the start.
  void SetRecording(bool on) KOR_EXCLUDES(mutex_);

  // The operations since the last call, oldest first, the latest kMaxRecord of them.
  std::vector<std::string> TakeRecord() KOR_EXCLUDES(mutex_);

  static constexpr size_t kMaxRecord = 1000;

  // -- For who asks an operation. While nothing was ordered these are all that it costs -------------------------------

  bool any() const { return recording_ || ordered_; }
  bool recording() const { return recording_; }
  void Note(std::string operation) KOR_EXCLUDES(mutex_);
  kor::Result TakeFailure(const std::string& name) KOR_EXCLUDES(mutex_);
  Milliseconds DelayOf(const std::string& name) KOR_EXCLUDES(mutex_);

 private:
  struct Failure {
    int count = 0;
    kor::Result result = kor::Result::kFailure;
    int good = 0;  // Operations that still go well before.
  };

  std::atomic<bool> recording_{false};
  std::atomic<bool> ordered_{false};  // There was a failure or a delay.

  kor::util::Mutex mutex_{rank::kModemQueue};
  std::map<std::string, Failure> failures_ KOR_GUARDED_BY(mutex_);  // By name; only those with a count above 0.
  std::map<std::string, Milliseconds> delays_ KOR_GUARDED_BY(mutex_);
  Milliseconds delay_ KOR_GUARDED_BY(mutex_){0};
  std::array<int, kKinds> counts_ KOR_GUARDED_BY(mutex_) = {};
  std::deque<std::string> record_ KOR_GUARDED_BY(mutex_);
};

}  // namespace kor::modem
