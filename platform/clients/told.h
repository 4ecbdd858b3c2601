// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <list>
#include <set>
#include <string>

#include "common/mutex.h"
#include "common/result.h"
#include "common/vendor/lock_ranks.h"
#include "port/modem_port.h"

namespace kor::vendor::qcom::qmi {

// What the modem is told once for all: the AT names, and that the software is ready. A modem that was gone has
// forgotten it and, when it is back, is told again in that order, on a thread of its own, since a report must not wait
// for the modem. One that comes late hears that the software is ready; names that it did not take are the library's to
// send again.
//
// Thread safety: all operations may be called from any thread, but not from inside a report. No lock is held while the
// modem is asked.
class Told {
 public:
  // The process's one, over the port of the client that asks first.
  static Told& Over(kor::modem::ModemPort& port);

  explicit Told(kor::modem::ModemPort& port);

  kor::Result Names(std::list<std::string> names) KOR_EXCLUDES(mutex_);
  kor::Result Ready() KOR_EXCLUDES(mutex_);

 private:
  void Again() KOR_EXCLUDES(mutex_);

  kor::modem::ModemPort& port_;

  kor::util::Mutex mutex_{rank::kTold};
  std::list<std::list<std::string>> requests_ KOR_GUARDED_BY(mutex_);  // Those that the modem took, as they were made.
  std::set<std::string> names_ KOR_GUARDED_BY(mutex_);                 // The names in them.
  bool ready_ KOR_GUARDED_BY(mutex_) = false;
};

}  // namespace kor::vendor::qcom::qmi
