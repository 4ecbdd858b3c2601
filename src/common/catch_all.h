// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <utility>

namespace kor::util {

// Runs somebody else's code where an exception must not go on: a subscriber's, on a thread of this side. What it throws
// is told as text, and goes no further. True when nothing was thrown.
template <typename Call, typename Tell>
bool CatchAll(Call&& call, Tell&& tell) {
  try {
    std::forward<Call>(call)();
    return true;
  } catch (const std::exception& error) {
    std::forward<Tell>(tell)(error.what());
  } catch (...) {
    std::forward<Tell>(tell)("an unknown exception");
  }
  return false;
}

}  // namespace kor::util
