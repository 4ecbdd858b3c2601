// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "common/export.h"
#include "common/result.h"

namespace kor::vendor::qcom::qmi {

// The client of the modem's device management service (QMI DMS): the PIN lock, the model. Its codes beyond those of
// kor::Result are named in kor::wwan::DeviceManager.
//
// Thread safety: all operations may be called from any thread. Each waits for the modem's answer, for 10 seconds at the
// longest (kTimeout): in an event callback it would hold up the events behind it.
class KOR_EXPORT DmsQmiClient {
 public:
  // The process's one client, alive until the process ends. Throws std::runtime_error when the modem is not reachable.
  static DmsQmiClient* GetInstance();

  // `pin_id`: 1 for PIN1, 2 for PIN2.
  kor::Result SetPinLock(int pin_id, bool enable, std::string pin);
  kor::Result ChangePinLockPwd(int pin_id, std::string old_pin, std::string new_pin);

  // kSuccess when `model_id` is filled.
  kor::Result GetModelId(std::string& model_id);

  // The state of PIN1, as a code.
  kor::Result GetPinStatus();
};

}  // namespace kor::vendor::qcom::qmi
