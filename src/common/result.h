// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kor {

// Outcome of the blocking, profile and device operations. A vendor client's own codes pass through unchanged, so a
// value outside this list is possible; compare with kSuccess first.
enum class Result : int32_t {
  kSuccess = 0,              // Done, or there was nothing to do.
  kFailure = 1,              // Refused, failed, or no confirmation within the time budget.
  kTimeout = 3,              // A timed wait on a condition ran out.
  kPreconditionFailed = 10,  // The state that the operation needs is not there.
  kNotSupported = 16,        // The operation ends without doing anything.
  kNotReady = 21,            // A call's network configuration is still incomplete; ask again.
};

}  // namespace kor
