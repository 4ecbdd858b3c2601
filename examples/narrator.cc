// SPDX-License-Identifier: Apache-2.0
#include "narrator.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace kor::demo {

namespace {

using std::chrono::steady_clock;

constexpr double kWorthTelling = 0.0005;  // Seconds; a shorter step was a look, not a wait.

constexpr char kBold[] = "\x1b[1m";
constexpr char kDim[] = "\x1b[2m";
constexpr char kGreen[] = "\x1b[32m";
constexpr char kRed[] = "\x1b[31m";
constexpr char kPlain[] = "\x1b[0m";
constexpr char kWipeLine[] = "\r\x1b[K";

bool IsTerminal() { return isatty(STDOUT_FILENO) == 1 && getenv("NO_COLOR") == nullptr; }

}  // namespace

Narrator::Narrator() : terminal_(IsTerminal()), started_(steady_clock::now()), step_started_(started_) {
  setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

double Narrator::Seconds(steady_clock::time_point since) const {
  return std::chrono::duration<double>(steady_clock::now() - since).count();
}

void Narrator::Chapter(const std::string& title) {
  printf("\n%s%d  %s%s\n", terminal_ ? kBold : "", ++chapter_, title.c_str(), terminal_ ? kPlain : "");
}

void Narrator::Begin(const std::string& what) {
  const std::lock_guard<std::mutex> lock(mutex_);
  step_started_ = steady_clock::now();
  running_ = what;
  ShowRunningStepLocked();
}

void Narrator::ShowRunningStepLocked() {
  if (!terminal_ || running_.empty()) return;
  printf("   %s...%s    %s", kDim, kPlain, running_.c_str());
  fflush(stdout);
}

void Narrator::Done(const std::string& value) { Done(value, Seconds(step_started_)); }

void Narrator::Done(const std::string& value, double seconds) { Line(kGreen, "ok", value, seconds); }

void Narrator::Failed(const std::string& reason) { Line(kRed, "FAILED", reason, Seconds(step_started_)); }

void Narrator::Line(const char* colour, const char* mark, const std::string& value, double seconds) {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::istringstream lines(value);
  std::string line;
  std::getline(lines, line);
  printf("%s   %s%-6s%s %-29s ", terminal_ ? kWipeLine : "", terminal_ ? colour : "", mark, terminal_ ? kPlain : "",
         running_.c_str());
  if (seconds < kWorthTelling) {
    printf("%s\n", line.c_str());
  } else {
    printf("%-32s %s%.3f s%s\n", line.c_str(), terminal_ ? kDim : "", seconds, terminal_ ? kPlain : "");
  }
  while (std::getline(lines, line)) printf("%40s%s\n", "", line.c_str());
  running_.clear();
}

void Narrator::Log(const std::string& line) {
  const std::lock_guard<std::mutex> lock(mutex_);
  printf("%s%s          %s%s\n", terminal_ ? kWipeLine : "", terminal_ ? kDim : "", line.c_str(),
         terminal_ ? kPlain : "");
  ShowRunningStepLocked();
}

void Narrator::End(bool ok) {
  const char* colour = ok ? kGreen : kRed;
  printf("\n%s%s%s in %.1f s\n", terminal_ ? colour : "", ok ? "The demo has passed" : "The demo has FAILED",
         terminal_ ? kPlain : "", Seconds(started_));
}

}  // namespace kor::demo
