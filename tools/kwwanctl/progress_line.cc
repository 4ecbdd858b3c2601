// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/progress_line.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "kwwanctl/screens.h"
#include "kwwanctl/text.h"

namespace kor::ctl {
namespace {

constexpr std::chrono::milliseconds kBudget{10'000};
constexpr int64_t kBarWidth = 20;

const char kStartOfLine[] = "\r\x1b[K";

size_t Columns() {
  winsize size{};
  const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : 80;
}

}  // namespace

ProgressLine::ProgressLine(const Output& out)
    : shown_(!out.json() && isatty(STDERR_FILENO)), start_(std::chrono::steady_clock::now()) {}

ProgressLine::~ProgressLine() {
  if (shown_) (void)fputs(kStartOfLine, stderr);
}

void ProgressLine::Update(const Session::Notification* progress) {
  if (progress != nullptr && progress->method == "progress") {
    const Json text = Member(progress->params, "text");
    if (text.is_string()) step_ = Escape(text.get<std::string>());
  }
  const auto now = std::chrono::steady_clock::now();
  const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(now - start_);
  (void)fputs((kStartOfLine + Text(elapsed, step_, Columns())).c_str(), stderr);
}

std::string ProgressLine::Text(std::chrono::milliseconds elapsed, const std::string& step, size_t columns) {
  const auto done = static_cast<size_t>(std::min(kBarWidth, elapsed.count() * kBarWidth / kBudget.count()));
  const std::string text = '[' + std::string(done, '#') + std::string(kBarWidth - done, '.') + "]  " +
                           Seconds(elapsed.count()) + " of 10 s  " + step;
  return text.substr(0, std::max<size_t>(columns, 1) - 1);  // The last column would wrap.
}

}  // namespace kor::ctl
