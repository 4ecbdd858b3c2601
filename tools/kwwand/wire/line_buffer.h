// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kor::host {

// For a client's buffer that has been emptied: otherwise every client would keep the capacity of the most that was ever
// in it.
void ReleaseCapacity(std::string& emptied);

// Makes lines of the bytes of a stream. Holds at most one line of `max_line` bytes and what one Append() brought.
class LineBuffer {
 public:
  static constexpr size_t kMaxLine = 65536;  // Bytes, the '\n' not counted.

  explicit LineBuffer(size_t max_line = kMaxLine) : max_line_(max_line) {}

  struct Line {
    std::string text;       // Without its '\n'.
    bool too_long = false;  // Its text is lost; told as soon as it is known, the rest is skipped.
  };

  void Append(std::string_view bytes);

  // The next whole line. None until more has been appended.
  std::optional<Line> Next();

 private:
  std::optional<Line> TakeTooLong();
  void Clear();

  const size_t max_line_;
  std::string bytes_;
  size_t start_ = 0;       // Where in it the next line begins.
  bool skipping_ = false;  // Until the end of a line that was too long.
};

}  // namespace kor::host
