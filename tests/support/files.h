// SPDX-License-Identifier: Apache-2.0
#pragma once

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

}  // namespace kor::test
