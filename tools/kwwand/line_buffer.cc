// SPDX-License-Identifier: Apache-2.0
#include "kwwand/line_buffer.h"

namespace kor::host {

void LineBuffer::Append(std::string_view bytes) {
  bytes_.erase(0, start_);
  start_ = 0;
  bytes_ += bytes;
}

std::optional<LineBuffer::Line> LineBuffer::Next() {
  const size_t end = bytes_.find('\n', start_);
  if (end == std::string::npos) return TakeTooLong();
  const size_t begin = start_;
  start_ = end + 1;
  if (skipping_) {
    skipping_ = false;
    return Next();
  }
  if (end - begin > kMaxLine) return Line{"", true};
  return Line{bytes_.substr(begin, end - begin), false};
}

// Of a line without its end: what is over the measure is let go.
std::optional<LineBuffer::Line> LineBuffer::TakeTooLong() {
  if (!skipping_ && bytes_.size() - start_ <= kMaxLine) return std::nullopt;
  bytes_.clear();
  start_ = 0;
  if (skipping_) return std::nullopt;
  skipping_ = true;
  return Line{"", true};
}

}  // namespace kor::host
