// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "narrator.h"

namespace kor::demo {

// Tells a chapter: names claimed and registered, a terminal program that types at them, an unsolicited text. Throws
// StepFailed when something is not as it should be.
//
// Requires: `socat`.
void TellAtCommands(Narrator& story);

}  // namespace kor::demo
