// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace kor::test {

inline std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

inline void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text;
}

// Runs a command line of the test's own; what it mounts or makes ends with the sandbox, or before the next test.
inline void Shell(const std::string& command) { ASSERT_EQ(0, system(command.c_str())) << command; }

}  // namespace kor::test
