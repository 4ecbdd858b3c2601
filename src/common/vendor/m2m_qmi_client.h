// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/export.h"

namespace kor::vendor::qcom::qmi {

// The client of the modem's machine-to-machine service (QMI M2M).
//
// Thread safety: all operations may be called from any thread. Each waits for the modem's answer, for 10 seconds at the
// longest (kTimeout): in an event callback it would hold up the events behind it.
class KOR_EXPORT M2mQmiClient {
 public:
  // The process's one client, alive until the process ends. Throws std::runtime_error when the modem is not reachable.
  static M2mQmiClient* GetInstance();

  // Tells the modem that the application side is ready. 0 when the modem took it.
  int SetSoftwareReady();
};

}  // namespace kor::vendor::qcom::qmi
