// SPDX-License-Identifier: Apache-2.0
// An AT command line: names and parameters.
#include "at/at_line.h"

#include <algorithm>
#include <cctype>
#include <cstdint>

#include "require.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  using kor::fuzz::Require;
  using kor::wwan::AtManager;
  const auto commands = kor::modem::ParseAtLine({reinterpret_cast<const char*>(bytes), size});
  size_t taken = 0;
  for (const auto& command : commands) {
    if (command.op == AtManager::kOpNone) {
      Require(&command == &commands.back(), "a fault ends the list");
      continue;
    }
    Require(command.op >= AtManager::kOpPlain && command.op <= AtManager::kOpTest, "a known form");
    Require(command.op == AtManager::kOpSet || command.params.empty(), "only a set has parameters");
    Require(!command.name.empty(), "a name");
    Require(std::none_of(command.name.begin(), command.name.end(), [](unsigned char c) { return islower(c) != 0; }),
            "in upper case");
    taken += command.name.size();
    for (const auto& param : command.params) taken += param.size();
  }
  Require(taken <= size, "nothing is made up");
  return 0;
}
