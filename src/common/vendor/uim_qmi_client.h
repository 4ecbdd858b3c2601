// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/export.h"
#include "common/result.h"

namespace kor::vendor::qcom::qmi {

// The client of the modem's SIM service (QMI UIM): the power of the cards.
//
// Thread safety: all operations may be called from any thread. Each waits for the modem's answer, for 10 seconds at the
// longest (kTimeout): in an event callback it would hold up the events behind it.
class KOR_EXPORT UimQmiClient {
 public:
  // The process's one client, alive until the process ends. Throws std::runtime_error when the modem is not reachable.
  static UimQmiClient* GetInstance();

  // `slot`: from 1 on. kSuccess when the modem took it.
  kor::Result TurnOnPower(int slot);
  kor::Result TurnOffPower(int slot);
};

}  // namespace kor::vendor::qcom::qmi
