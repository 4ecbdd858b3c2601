// SPDX-License-Identifier: Apache-2.0
#include "kwwand/wire/line_buffer.h"

namespace kor::host {

namespace {

constexpr size_t kKeptCapacity = 4 * 1024;  // Bytes.

}  // namespace

void ReleaseCapacity(std::string& emptied) {
  if (emptied.capacity() > kKeptCapacity) emptied.shrink_to_fit();
}

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
  if (end - begin > max_line_) return Line{"", true};
  return Line{bytes_.substr(begin, end - begin), false};
}

// With no line whole: what is over the measure is let go, and the room of what has been taken.
std::optional<LineBuffer::Line> LineBuffer::TakeTooLong() {
  const size_t size = bytes_.size() - start_;
  const bool too_long = size > max_line_;
  if (size == 0 || too_long || skipping_) Clear();
  if (!too_long || skipping_) return std::nullopt;
  skipping_ = true;
  return Line{"", true};
}

void LineBuffer::Clear() {
  bytes_.clear();
  start_ = 0;
  ReleaseCapacity(bytes_);
}

}  // namespace kor::host
