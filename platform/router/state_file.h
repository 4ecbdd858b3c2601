// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace kor::vendor::qcom::qcmap {

// A file that is whole at any moment, also when the power goes: it is replaced by a new one that is on the disk
// already.
//
// Thread safety: all operations may be called from any thread, and in several processes. They wait for the disk. Each
// throws std::exception, which says what the system refused.
class StateFile {
 public:
  explicit StateFile(std::string path);

  // Its text; nothing when there is none.
  std::optional<std::string> Read() const;

  const std::string& path() const { return path_; }

  // Replaces it, on the disk when this returns; its folder is made when there is none. When it throws, the old text or
  // the new one is there.
  void Write(const std::string& text) const;

  // Renames it, so that nobody reads it again. The new name.
  std::string KeepAside() const;

 private:
  const std::string path_;
};

}  // namespace kor::vendor::qcom::qcmap
