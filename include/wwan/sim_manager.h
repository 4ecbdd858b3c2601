// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/export.h"
#include "common/result.h"

namespace kor::vendor::qcom::qmi {
class UimQmiClient;
}

namespace kor::wwan {

// The power of the SIM cards.
//
// Each operation is one request to the modem and blocks until it has taken it. The card itself needs a few seconds
// more: calls end when it goes, and it must be found, unlocked and registered again when it comes back.
//
// Thread safety: all operations may be called from any thread, from event callbacks too, which they hold up.
// Ownership: an object owns nothing; objects may be created and destroyed on several threads.
class KOR_EXPORT SimManager {
 public:
  // Throws what the vendor's side throws when the modem cannot be reached.
  SimManager();
  ~SimManager();
  SimManager(const SimManager&) = delete;
  SimManager& operator=(const SimManager&) = delete;

  // `slot`: the card's slot, from 1 on. kSuccess also when the power was so already; kFailure when there is no such
  // slot or the modem does not answer.
  [[nodiscard]] kor::Result TurnOnPower(int slot);
  [[nodiscard]] kor::Result TurnOffPower(int slot);

 private:
  kor::vendor::qcom::qmi::UimQmiClient* const uim_;  // Not owned.
};

}  // namespace kor::wwan
