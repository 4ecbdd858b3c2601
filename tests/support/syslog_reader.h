// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <thread>
#include <vector>

#include "common/condition.h"
#include "common/mutex.h"

namespace kor::test {

// The syslog daemon's place at /dev/log: keeps what the process logs while it lives, as "<priority> <message>", with
// the time stamp and tag taken off, the source line number as "#", and line ends as they were sent.
class SyslogReader {
 public:
  SyslogReader();
  ~SyslogReader();

  // The lines since the last call, in order: everything that was sent before this call is in them.
  std::vector<std::string> Take();

  // Those of them that hold `text`.
  std::vector<std::string> TakeWith(const std::string& text);

 private:
  void Read();

  int fd_ = -1;
  kor::util::Mutex mutex_;
  kor::util::Condition cond_;
  std::vector<std::string> lines_ KOR_GUARDED_BY(mutex_);
  int fences_seen_ KOR_GUARDED_BY(mutex_) = 0;
  int fences_sent_ = 0;
  std::thread thread_;
};

}  // namespace kor::test
