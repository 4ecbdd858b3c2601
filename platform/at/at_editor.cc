// SPDX-License-Identifier: Apache-2.0
#include "at/at_editor.h"

#include <string_view>

namespace kor::modem {

namespace {

constexpr size_t kPrefixSize = 2;
constexpr char kDelete = 0x7f;

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20; }

bool IsOneOf(std::string_view set, char c) { return set.find(c) != std::string_view::npos; }

}  // namespace

AtEditor::Event AtEditor::Type(char c, const AtSettings& settings, std::string& echo) {
  const auto code = static_cast<unsigned char>(c);
  if (code == settings.line_end) {
    if (settings.echo) echo += c;
    if (line_.size() >= kPrefixSize) return Event::kLine;
    Clear();
    return Event::kNothing;
  }
  if (code == settings.erase || c == kDelete) {
    if (settings.echo && !line_.empty()) echo += "\b \b";
    if (!line_.empty() && !too_long_) line_.pop_back();
    return Event::kNothing;
  }
  if (IsControl(c)) return Event::kNothing;
  if (settings.echo) echo += c;
  return Append(c);
}

AtEditor::Event AtEditor::Append(char c) {
  if (line_.size() >= kPrefixSize) {
    too_long_ = too_long_ || line_.size() >= kMaxLine;
    if (!too_long_) line_ += c;
    return Event::kNothing;
  }
  if (line_.size() == 1 && c == '/') {
    Clear();
    return Event::kRepeat;
  }
  if (line_.size() == 1 && IsOneOf("Tt", c)) {
    line_ += c;
    return Event::kNothing;
  }
  line_.assign(IsOneOf("Aa", c) ? 1 : 0, c);
  return Event::kNothing;
}

std::optional<std::string> AtEditor::TakeLine() {
  std::optional<std::string> body;
  if (!too_long_) body = line_.substr(kPrefixSize);
  Clear();
  return body;
}

void AtEditor::Clear() {
  line_.clear();
  too_long_ = false;
}

}  // namespace kor::modem
