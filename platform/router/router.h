// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "common/mutex.h"
#include "common/vendor/lock_ranks.h"
#include "port/modem_port.h"
#include "router/lan_table.h"
#include "router/policy_table.h"
#include "router/router_state.h"
#include "router/state_file.h"

namespace kor::vendor::qcom::qcmap {

// What no modem does for us: the policies of its calls, and the LAN. Both are kept in a file, which is written after
// each change before the setter returns, and read at the start. A file that cannot be read, or holds what no setter
// would take, is kept under another name, which the log says, and everything starts as it comes out of the box. A
// change that cannot be written holds until the process ends; the log says so once.
//
// Thread safety: each part locks for itself.
class Router {
 public:
  static constexpr char kStateFile[] = "/data/kwwan/router.json";

  // The process's router over the process's modem, made by the first call; throws what ModemPort::Get() throws. Never
  // destroyed: threads may be at work while exit() destroys what is static. (Defined by the vendor clients.)
  static Router& Get();

  // `port` must outlive this object.
  Router(kor::modem::ModemPort& port, const std::string& state_path);
  Router(const Router&) = delete;
  Router& operator=(const Router&) = delete;

 private:
  static RouterState Load(const StateFile& file);
  Router(kor::modem::ModemPort& port, const StateFile& file, const RouterState& state);
  void Save() KOR_EXCLUDES(file_mutex_);

  const StateFile file_;

  kor::util::Mutex file_mutex_{rank::kRouterFile};  // Held while the disk is waited for, and by nobody else.
  std::string written_ KOR_GUARDED_BY(file_mutex_);
  bool failing_ KOR_GUARDED_BY(file_mutex_) = false;

 public:
  PolicyTable policies;
  LanTable lan;
};

}  // namespace kor::vendor::qcom::qcmap
