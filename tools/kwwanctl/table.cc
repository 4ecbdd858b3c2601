// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/table.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iterator>

#include "kwwanctl/text.h"

namespace kor::ctl {
namespace {

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
