// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "common/event_dic.h"
#include "common/mutex.h"
#include "common/vendor/lock_ranks.h"
#include "port/modem_port.h"
#include "router/auto_connect.h"
#include "router/lan_table.h"
#include "router/policy_table.h"
#include "router/router_state.h"
#include "router/state_file.h"

namespace kor::vendor::qcom::qcmap {

// What no modem does for us: the policies of its calls, which connect by themselves where they are to, and the LAN.
// Policies and LAN are kept in a file, which is written after
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

  // Takes over the calls that the modem has up, and keeps up those that are to connect by themselves, from now on:
  // never destroyed any more. `publish` is called with the events of common/router_events.h, on any thread.
  void Start(std::function<void(kor::util::EventDic& ev)> publish);

 private:
  static RouterState Load(const StateFile& file);
  Router(kor::modem::ModemPort& port, const StateFile& file, const RouterState& state);
  void Changed(PolicyTable::Change change);
  void Save() KOR_EXCLUDES(file_mutex_);
  void PublishWait(const ReconnectPlan::Waiting& waiting);
  void TakeState(kor::modem::ModemState state);

  // Constant once started.
  kor::modem::ModemPort& port_;
  const StateFile file_;
  std::function<void(kor::util::EventDic& ev)> publish_;

  kor::util::Mutex file_mutex_{rank::kRouterFile};  // Held while the disk is waited for, and by nobody else.
  std::string written_ KOR_GUARDED_BY(file_mutex_);
  bool failing_ KOR_GUARDED_BY(file_mutex_) = false;

 public:
  PolicyTable policies;
  LanTable lan;

 private:
  AutoConnect auto_connect_;
};

}  // namespace kor::vendor::qcom::qcmap
