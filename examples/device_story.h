// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "narrator.h"

namespace kor::demo {

// Tells two chapters: the LAN with a VLAN on a PDN of its own, and the modem as a device: radio, PIN lock, short
// messages. Each setting is read back, and all but the LAN's address, its pool and an SMS route is as before in the
// end. Throws StepFailed when something is not as it should be.
//
// Requires: no call is up (the SIM card is switched off and on), and there is one policy.
void TellDevice(Narrator& story);

}  // namespace kor::demo
