// SPDX-License-Identifier: Apache-2.0
// What the simulated modem itself answers at a terminal: I +GMI +GMM +GMR +GSN (ITU-T V.250), +CGMI +CGMM +CGMR +CGSN
// +CPIN +CREG +COPS +CSQ (3GPP TS 27.007). Pure.
#pragma once

#include "at/at_backend.h"
#include "common/result.h"
#include "simulator/radio_figures.h"

namespace kor::modem {

// How the SIM card is.
struct SimState {
  bool starting = false;                    // There, with power, and not ready yet.
  kor::Result pin = kor::Result::kSuccess;  // A state of PIN1, or kSimNotReady.
};

// By how radio and SIM card are. kAtNotSupported when the command is none of them, or not in this form.
AtReply AnswerOf(const AtCommand& command, const RadioState& radio, const SimState& sim);

}  // namespace kor::modem
