// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kor::host {

// A file that holds this process's id for the length of the object's life.
class PidFile {
 public:
  // An empty path: none. Throws std::system_error.
  explicit PidFile(const std::string& path);
  ~PidFile() { Remove(); }
  PidFile(const PidFile&) = delete;
  PidFile& operator=(const PidFile&) = delete;

  void Remove();

 private:
  std::string path_;  // Empty iff there is none.
};

}  // namespace kor::host
