// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "common/mutex.h"
#include "common/result.h"
#include "port/lock_ranks.h"

namespace kor::modem {

// What goes wrong in the modem on order, and the record of what was asked of it.
//
// Thread safety: all operations may be called from any thread.
class Faults {
 public:
  enum Kind { kConnectFails, kDisconnectFails, kIgnoredRequest, kLostReport, kAnswerFails, kKinds };

  // Notes `operation` ("NAME ARGUMENT...") down and tells whether the modem takes it. The fetching of a client
  // ("CLIENT.GetInstance") is noted only when it fails.
  kor::Result Admit(const std::string& operation) KOR_EXCLUDES(mutex_);

  // After `good` more operations of that name, the next `count` end with `result`; replaces what was said of it before.
  void FailNext(const std::string& name, int count, kor::Result result, int good) KOR_EXCLUDES(mutex_);

  // The next `count` occasions of that kind go wrong. Take: whether this one does.
  void Set(Kind kind, int count) KOR_EXCLUDES(mutex_);
  bool Take(Kind kind) KOR_EXCLUDES(mutex_);

  // The operations since the last call, oldest first, the latest kMaxRecord of them.
  std::vector<std::string> TakeRecord() KOR_EXCLUDES(mutex_);

  static constexpr size_t kMaxRecord = 1000;

 private:
  struct Failure {
    int count = 0;
    kor::Result result = kor::Result::kFailure;
    int good = 0;  // Operations that still go well before.
  };

  kor::Result TakeFailureLocked(const std::string& name) KOR_REQUIRES(mutex_);

  kor::util::Mutex mutex_{rank::kModemQueue};
  std::map<std::string, Failure> failures_ KOR_GUARDED_BY(mutex_);  // By name; only those with a count above 0.
  std::array<int, kKinds> counts_ KOR_GUARDED_BY(mutex_) = {};
  std::deque<std::string> record_ KOR_GUARDED_BY(mutex_);
};

}  // namespace kor::modem
