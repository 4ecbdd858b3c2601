// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

#include "kwwanctl/output.h"
#include "kwwanctl/session.h"

namespace kor::ctl {

// A line on standard error that follows a call on its way, against the ten seconds it has; only on a terminal, and gone
// in the end. One thread.
class ProgressLine {
 public:
  explicit ProgressLine(const Output& out);
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  bool shown() const { return shown_; }

  // A step of the call, or nullptr: only the time has gone on.
  void Update(const Session::Notification* progress);

  // "[####................]  2.0 s of 10 s  the modem confirms the call", cut to `columns`. Pure.
  static std::string Text(std::chrono::milliseconds elapsed, const std::string& step, size_t columns);

 private:
  const bool shown_;
  const std::chrono::steady_clock::time_point start_;
  std::string step_ = "asked";
};

}  // namespace kor::ctl
