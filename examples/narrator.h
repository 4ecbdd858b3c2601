// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <mutex>
#include <string>

namespace kor::demo {

// Tells the demo's story on standard output: chapters of aligned lines, one a step, with a mark, what was done, what
// came of it and how long it took. In colour, and with the running step shown, on a terminal only.
//
// Thread safety: Log() may be called from any thread, the rest by the story's.
class Narrator {
 public:
  Narrator();

  void Chapter(const std::string& title);

  // A step begins; Done() or Failed() ends it. A value of several lines stands one below the other. `seconds`: the
  // step's time, when it was measured elsewhere.
  void Begin(const std::string& what);
  void Done(const std::string& value);
  void Done(const std::string& value, double seconds);
  void Failed(const std::string& reason);

  // A line of the library's log.
  void Log(const std::string& line);

  // The last line; `ok` tells how it ended.
  void End(bool ok);

 private:
  double Seconds(std::chrono::steady_clock::time_point since) const;
  void Line(const char* colour, const char* mark, const std::string& value, double seconds);
  void ShowRunningStepLocked();

  const bool terminal_;
  const std::chrono::steady_clock::time_point started_;
  std::chrono::steady_clock::time_point step_started_;
  int chapter_ = 0;

  std::mutex mutex_;     // Lines come out whole; guards what follows.
  std::string running_;  // What the running step does; empty iff none runs.
};

}  // namespace kor::demo
