// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "port/modem_port.h"
#include "router/lan_table.h"
#include "router/policy_table.h"

namespace kor::vendor::qcom::qcmap {

// What no modem does for us: the policies of its calls, and the LAN.
//
// Thread safety: each part locks for itself.
class Router {
 public:
  // The process's router over the process's modem, made by the first call; throws what ModemPort::Get() throws. Never
  // destroyed: threads may be at work while exit() destroys what is static. (Defined by the vendor clients.)
  static Router& Get();

  // `port` must outlive this object.
  explicit Router(kor::modem::ModemPort& port) : policies(port), lan(policies) {}

  PolicyTable policies;
  LanTable lan;
};

}  // namespace kor::vendor::qcom::qcmap
