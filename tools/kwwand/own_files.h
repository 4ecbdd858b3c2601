// SPDX-License-Identifier: Apache-2.0
// Files of the host's own in folders where others may have put something in their way.
#pragma once

#include <sys/types.h>

#include <string>

#include "shared/fd.h"

namespace kor::host {

using kor::tools::Fd;

// Throws std::runtime_error unless what is in the folder stays ours: it is root's or our user's, and whoever else may
// write there cannot touch another's files, as in /tmp.
void CheckFolder(const std::string& folder);

// The same; a folder of our user's that others may write to is first closed to them.
void CloseFolder(const std::string& folder);

// A file that is locked for the length of the object's life and gone at its end. Whoever gets the lock knows that no
// other process has it; one that is killed leaves the file, and not the lock. Nobody else may open the file: a lock for
// reading would keep the next host away.
class LockFile {
 public:
  // Throws std::runtime_error: "another kwwand (process 812) HOLDING", or why the file cannot be had.
  LockFile(const std::string& path, const std::string& holding);
  ~LockFile() { Release(); }
  LockFile(const LockFile&) = delete;
  LockFile& operator=(const LockFile&) = delete;

  void Release();

 private:
  const std::string path_;
  Fd fd_;  // Open iff it is held.
};

// A file that holds this process's id for the length of the object's life.
class PidFile {
 public:
  // An empty path: none. Throws std::runtime_error.
  explicit PidFile(const std::string& path);
  ~PidFile() { Remove(); }
  PidFile(const PidFile&) = delete;
  PidFile& operator=(const PidFile&) = delete;

  void Remove();

 private:
  std::string path_;  // Empty iff there is none.
};

}  // namespace kor::host
