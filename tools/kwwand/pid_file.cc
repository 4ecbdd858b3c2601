// SPDX-License-Identifier: Apache-2.0
#include "kwwand/pid_file.h"

#include <fcntl.h>

#include "kwwand/fd.h"

namespace kor::host {

namespace {

constexpr mode_t kMode = 0644;

}  // namespace

PidFile::PidFile(const std::string& path) {
  if (path.empty()) return;
  const Fd fd(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kMode));
  if (!fd.is_open()) throw SystemError("--pid-file: " + path);
  path_ = path;
  const std::string text = std::to_string(getpid()) + "\n";
  if (write(fd.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size())) return;
  const std::system_error error = SystemError("--pid-file: " + path);
  Remove();
  throw error;
}

void PidFile::Remove() {
  if (!path_.empty()) unlink(path_.c_str());
  path_.clear();
}

}  // namespace kor::host
