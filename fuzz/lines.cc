// SPDX-License-Identifier: Apache-2.0
// The host's socket as a stream: in whatever pieces it comes, each line of it comes out once, whole, or as too long.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kwwand/wire/line_buffer.h"
#include "require.h"

namespace {

using kor::fuzz::Require;
using kor::host::LineBuffer;

constexpr size_t kLongest = 24;

// The lines that have an end, and the last one when it is too long without.
std::vector<LineBuffer::Line> LinesOf(std::string_view stream) {
  std::vector<LineBuffer::Line> lines;
  while (!stream.empty()) {
    const size_t end = stream.find('\n');
    const std::string_view line = stream.substr(0, end);
    const bool too_long = line.size() > kLongest;
    if (end != std::string_view::npos || too_long) lines.push_back({std::string(too_long ? "" : line), too_long});
    stream.remove_prefix(std::min(stream.size(), line.size() + 1));
  }
  return lines;
}

}  // namespace

// Each piece begins with its size.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  std::string stream;
  std::vector<LineBuffer::Line> lines;
  LineBuffer buffer(kLongest);
  while (size > 0) {
    const size_t piece = std::min<size_t>(bytes[0], size - 1);
    const std::string_view text(reinterpret_cast<const char*>(bytes) + 1, piece);
    bytes += 1 + piece;
    size -= 1 + piece;
    stream += text;
    buffer.Append(text);
    while (auto line = buffer.Next()) lines.push_back(std::move(*line));
  }
  const std::vector<LineBuffer::Line> expected = LinesOf(stream);
  Require(lines.size() == expected.size(), "as many lines come out as went in");
  for (size_t i = 0; i < lines.size(); ++i) {
    Require(lines[i].too_long == expected[i].too_long, "a line over the measure is told as such, and no other");
    Require(lines[i].text == expected[i].text, "a line comes out as it went in");
  }
  return 0;
}
