// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "kwwand/host/lan_change.h"

namespace kor::host {

// The LAN as it was before a change that waits for its confirmation, in a file: the next host finds it there when this
// one is killed meanwhile.
//
// Thread safety: none.
class LanJournal {
 public:
  // An empty path: nothing is kept.
  explicit LanJournal(std::string path) : path_(std::move(path)) {}

  // Throws RequestError when it cannot be written; then nothing is kept.
  void Keep(const LanConfig& before);

  // False, and the log says why, when the file cannot be removed.
  bool Forget();

  // Nothing when there is no file; also, and the log says so, when it is somebody else's, or holds no LAN that can be
  // set.
  std::optional<LanConfig> Kept() const;

 private:
  std::string path_;
};

}  // namespace kor::host
