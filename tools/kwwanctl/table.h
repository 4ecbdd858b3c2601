// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "kwwanctl/command_error.h"
#include "kwwanctl/paint.h"

namespace kor::ctl {

// A value of a result as people read it, escaped: "-" for null and empty texts, "yes" and "no", one
// decimal, lists with ", ".
std::string ToText(const Json& value);

// One place of a screen.
struct Cell {
  Cell(const Json& value, Colour its_colour = Colour::kNone) : text(ToText(value)), colour(its_colour) {}
  Cell(const std::string& value, Colour its_colour = Colour::kNone) : Cell(Json(value), its_colour) {}
  Cell(const char* value, Colour its_colour = Colour::kNone) : Cell(Json(value), its_colour) {}
  std::string text;
  Colour colour;
};

// Rows under a heading, the columns aligned by what they take on a terminal. Any thread for reading.
class Table {
 public:
  explicit Table(std::vector<std::string> heading) : heading_(std::move(heading)) {}

  // Requires: as many cells as the heading has.
  void Add(std::vector<Cell> row) { rows_.push_back(std::move(row)); }

  // `nothing`: what to say instead when there is no row.
  std::string Text(const Paint& paint, const std::string& nothing) const;

 private:
  std::vector<std::string> heading_;
  std::vector<std::vector<Cell>> rows_;
};

// Lines "Name  value", the values below each other.
class Fields {
 public:
  void Add(const std::string& name, const Cell& value) { lines_.emplace_back(name, value); }

  std::string Text(const Paint& paint) const;

 private:
  std::vector<std::pair<std::string, Cell>> lines_;
};

// Every member of `record` as one line, "area_code" as "Area code"; members that are objects in a block of their own.
std::string RecordText(const Json& record, const Paint& paint);

}  // namespace kor::ctl
