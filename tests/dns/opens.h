// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace kor::test {

// The calls of open() that this program's own objects and the library's make: the linker leads them by here. One whose
// descriptor would be inherited by a program that another thread starts at that moment fails the test.
class Opens {
 public:
  // How many were of files in /proc, since the last call.
  static int TakeLooksAtProcesses();

  // Each takes so long from now on.
  static void Delay(std::chrono::milliseconds delay);
};

}  // namespace kor::test
