// SPDX-License-Identifier: Apache-2.0
#include "shared/escape.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace kor::tools {
namespace {

struct Range {
  char32_t first;
  char32_t last;
};

// What a terminal obeys: C0 and C1 controls, line separators, and what turns the writing direction.
constexpr Range kObeyed[] = {{0x00, 0x1f},     {0x7f, 0x9f},     {0x061c, 0x061c}, {0x200e, 0x200f},
                             {0x2028, 0x202e}, {0x2066, 0x2069}, {0xfeff, 0xfeff}};

bool IsObeyed(char32_t c) {
  return std::any_of(std::begin(kObeyed), std::end(kObeyed), [c](Range r) { return r.first <= c && c <= r.last; });
}

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
    } else if (IsObeyed(*c)) {
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

}  // namespace kor::tools
