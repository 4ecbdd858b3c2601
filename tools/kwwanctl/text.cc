// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/text.h"

#include <algorithm>
#include <iterator>

namespace kor::ctl {
namespace {

struct Range {
  char32_t first;
  char32_t last;
};

// Combining marks, joiners and variation selectors of the scripts that networks' names are written in.
constexpr Range kNoColumn[] = {{0x0300, 0x036f}, {0x0483, 0x0489}, {0x0591, 0x05bd}, {0x064b, 0x065f},
                               {0x0e31, 0x0e31}, {0x0e34, 0x0e3a}, {0x0e47, 0x0e4e}, {0x200b, 0x200d},
                               {0x20d0, 0x20ff}, {0x3099, 0x309a}, {0xfe00, 0xfe0f}, {0xfe20, 0xfe2f}};
// East Asian wide and full-width characters, and emoji.
constexpr Range kTwoColumns[] = {{0x1100, 0x115f},   {0x2e80, 0x303e},   {0x3041, 0x33ff},  {0x3400, 0x4dbf},
                                 {0x4e00, 0x9fff},   {0xa000, 0xa4cf},   {0xac00, 0xd7a3},  {0xf900, 0xfaff},
                                 {0xfe30, 0xfe6f},   {0xff00, 0xff60},   {0xffe0, 0xffe6},  {0x1f300, 0x1f64f},
                                 {0x1f680, 0x1f6ff}, {0x1f900, 0x1f9ff}, {0x20000, 0x3fffd}};

template <size_t N>
bool In(const Range (&ranges)[N], char32_t c) {
  return std::any_of(std::begin(ranges), std::end(ranges), [c](Range r) { return r.first <= c && c <= r.last; });
}

size_t Width(char32_t c) { return In(kNoColumn, c) ? 0 : In(kTwoColumns, c) ? 2 : 1; }

}  // namespace

size_t DisplayWidth(std::string_view text) {
  size_t width = 0;
  while (!text.empty()) width += Width(TakeCharacter(text).value_or('?'));
  return width;
}

std::string Pad(const std::string& text, size_t width) {
  return text + std::string(width - std::min(width, DisplayWidth(text)), ' ');
}

}  // namespace kor::ctl
