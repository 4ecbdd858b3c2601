// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/table.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
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

constexpr size_t kGap = 2;  // Blanks between two columns.

std::string ListText(const Json& list) {
  std::string text;
  for (const Json& item : list) text += (text.empty() ? "" : ", ") + ToText(item);
  return text.empty() ? "-" : text;
}

std::string FloatText(double value) {
  char text[32];
  (void)snprintf(text, sizeof(text), "%.1f", value);
  return text;
}

bool IsShortened(const std::string& word) {
  constexpr const char* kShortened[] = {"apn", "mcc", "mnc", "pdp", "rsrp", "rsrq"};
  return std::any_of(std::begin(kShortened), std::end(kShortened),
                     [&word](const char* known) { return word == known; });
}

// "area_code" as "Area code", "pdp_type" as "PDP type".
std::string Heading(const std::string& name) {
  const std::string first = name.substr(0, name.find('_'));
  std::string heading = name;
  const size_t large = IsShortened(first) ? first.size() : std::min<size_t>(1, name.size());
  const auto end = heading.begin() + static_cast<std::ptrdiff_t>(large);
  std::transform(heading.begin(), end, heading.begin(), [](unsigned char c) { return static_cast<char>(toupper(c)); });
  std::replace(heading.begin(), heading.end(), '_', ' ');
  return Escape(heading);
}

std::string WithoutTrailingBlanks(std::string line) {
  line.erase(line.find_last_not_of(' ') + 1);
  return line + '\n';
}

}  // namespace

size_t DisplayWidth(std::string_view text) {
  size_t width = 0;
  while (!text.empty()) width += Width(TakeCharacter(text).value_or('?'));
  return width;
}

std::string Pad(const std::string& text, size_t width) {
  return text + std::string(width - std::min(width, DisplayWidth(text)), ' ');
}

Json Member(const Json& object, const std::string& name) {
  const auto found = object.is_object() ? object.find(name) : object.end();
  return object.is_object() && found != object.end() ? *found : Json();
}

std::string Seconds(int64_t milliseconds) {
  char text[32];
  (void)snprintf(text, sizeof(text), "%.1f s", static_cast<double>(milliseconds) / 1000);
  return text;
}

std::string ToText(const Json& value) {
  if (value.is_null()) return "-";
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  if (value.is_array()) return ListText(value);
  if (value.is_number_float()) return FloatText(value.get<double>());
  if (!value.is_string()) return value.dump(-1, ' ', true);
  const auto text = value.get<std::string>();
  return text.empty() ? "-" : Escape(text);
}

std::string Table::Text(const Paint& paint, const std::string& nothing) const {
  if (rows_.empty()) return nothing + '\n';
  std::string line;
  std::vector<size_t> widths;
  for (size_t column = 0; column < heading_.size(); ++column) {
    size_t width = heading_[column].size();
    for (const auto& row : rows_) width = std::max(width, DisplayWidth(row[column].text));
    widths.push_back(width + kGap);
    line += Pad(heading_[column], width + kGap);
  }
  std::string text = paint(Colour::kHeading, line.substr(0, line.find_last_not_of(' ') + 1)) + '\n';
  for (const auto& row : rows_) {
    line.clear();
    for (size_t column = 0; column < row.size(); ++column) {
      const Cell& cell = row[column];
      line += paint(cell.colour, cell.text) + Pad("", widths[column] - DisplayWidth(cell.text));
    }
    text += WithoutTrailingBlanks(line);
  }
  return text;
}

std::string Fields::Text(const Paint& paint) const {
  size_t width = 0;
  for (const auto& line : lines_) width = std::max(width, line.first.size());
  std::string text;
  for (const auto& [name, value] : lines_) text += Pad(name, width + kGap) + paint(value.colour, value.text) + '\n';
  return text;
}

std::string RecordText(const Json& record, const Paint& paint) {
  Fields fields;
  std::string blocks;
  for (const auto& [name, value] : record.items()) {
    if (value.is_object()) {
      blocks += paint(Colour::kHeading, Heading(name)) + '\n' + RecordText(value, paint);
    } else {
      fields.Add(Heading(name), value);
    }
  }
  return fields.Text(paint) + blocks;
}

}  // namespace kor::ctl
