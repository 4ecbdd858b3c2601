// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "common/mutex.h"
#include "port/lock_ranks.h"
#include "wwan/mobileap_manager.h"

namespace kor::modem {

// The LAN configuration that is in force.
//
// Thread safety: all operations may be called from any thread.
class Lan {
 public:
  using Config = kor::wwan::MobileapManager::LanConfig;

  void Apply(const Config& config) KOR_EXCLUDES(mutex_);

  // "GATEWAY NETMASK START-END LEASE", with "-" for the pool and the lease when there is no DHCP server; empty before
  // the first one.
  std::string Text() KOR_EXCLUDES(mutex_);

 private:
  kor::util::Mutex mutex_{rank::kModem};
  Config config_ KOR_GUARDED_BY(mutex_);  // Valid once there is one.
};

}  // namespace kor::modem
