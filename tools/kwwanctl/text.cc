// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/text.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>

namespace kor::ctl {
namespace {

struct Range {
  char32_t first;
  char32_t last;
};

// What a terminal obeys: C0 and C1 controls, line separators, and what turns the writing direction.
constexpr Range kObeyed[] = {{0x00, 0x1f},     {0x7f, 0x9f},     {0x061c, 0x061c}, {0x200e, 0x200f},
                             {0x2028, 0x202e}, {0x2066, 0x2069}, {0xfeff, 0xfeff}};
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

std::string Escaped(char32_t c) {
  if (c == '\n') return "\\n";
  if (c == '\r') return "\\r";
  if (c == '\t') return "\\t";
  char text[16];
  (void)snprintf(text, sizeof(text), c < 0x80 ? "\\x%02x" : "\\u{%x}", static_cast<unsigned>(c));
  return text;
}

std::string EscapedByte(char byte) {
  char text[8];
  (void)snprintf(text, sizeof(text), "\\x%02x", static_cast<unsigned char>(byte));
  return text;
}

// Bytes of the character that begins with `lead`; 0 when none does.
size_t Length(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xc2 && lead < 0xe0) return 2;
  if (lead >= 0xe0 && lead < 0xf0) return 3;
  return lead >= 0xf0 && lead < 0xf5 ? 4 : 0;
}

bool IsCharacter(char32_t c, size_t length) {
  constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  return c >= kSmallest[length] && c <= 0x10ffff && (c < 0xd800 || c > 0xdfff);
}

}  // namespace

std::optional<char32_t> TakeCharacter(std::string_view& text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  const size_t length = Length(lead);
  char32_t c = length == 1 ? lead : lead & (0xffu >> (length + 1));
  size_t i = 1;
  while (i < length && i < text.size() && (static_cast<unsigned char>(text[i]) & 0xc0) == 0x80) {
    c = c << 6 | (static_cast<unsigned char>(text[i++]) & 0x3fu);
  }
  const bool good = length > 0 && i == length && IsCharacter(c, length);
  text.remove_prefix(good ? length : 1);
  return good ? std::optional(c) : std::nullopt;
}

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    if (!TakeCharacter(text)) return false;
  }
  return true;
}

std::string Escape(std::string_view text) {
  std::string escaped;
  while (!text.empty()) {
    const std::string_view from = text;
    const auto c = TakeCharacter(text);
    if (!c) {
      escaped += EscapedByte(from[0]);
    } else if (In(kObeyed, *c)) {
      escaped += Escaped(*c);
    } else {
      escaped += from.substr(0, from.size() - text.size());
    }
  }
  return escaped;
}

std::string EscapeLines(std::string_view text) {
  std::string escaped;
  size_t end;
  for (; (end = text.find('\n')) != std::string_view::npos; text.remove_prefix(end + 1)) {
    escaped += Escape(text.substr(0, end)) + '\n';
  }
  return escaped + Escape(text);
}

size_t DisplayWidth(std::string_view text) {
  size_t width = 0;
  while (!text.empty()) width += Width(TakeCharacter(text).value_or('?'));
  return width;
}

std::string Pad(const std::string& text, size_t width) {
  return text + std::string(width - std::min(width, DisplayWidth(text)), ' ');
}

}  // namespace kor::ctl
