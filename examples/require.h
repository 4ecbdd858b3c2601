// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace kor::demo {

// What a step throws when the world is not as it should be; its text is the reason.
struct StepFailed : std::runtime_error {
  using std::runtime_error::runtime_error;
};

inline void Require(bool condition, const std::string& reason) {
  if (!condition) throw StepFailed(reason);
}

}  // namespace kor::demo
