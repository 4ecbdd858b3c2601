// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kwwanctl/command_error.h"
#include "shared/escape.h"

namespace kor::ctl {

using kor::tools::Escape;
using kor::tools::EscapeLines;
using kor::tools::IsUtf8;
using kor::tools::TakeCharacter;

// Columns that escaped text takes on a terminal: none for what combines with the character before, two for wide ones.
size_t DisplayWidth(std::string_view text);

// `text` with blanks up to `width` columns.
std::string Pad(const std::string& text, size_t width);

enum class Colour { kNone, kGood, kWarning, kBad, kFaint, kHeading };

// Colours of a terminal, or their absence. Any thread.
class Paint {
 public:
  explicit Paint(bool on) : on_(on) {}

  std::string operator()(Colour colour, const std::string& text) const {
    return on_ && colour != Colour::kNone && !text.empty() ? Code(colour) + text + "\x1b[0m" : text;
  }

 private:
  static std::string Code(Colour colour) {
    switch (colour) {
      case Colour::kGood:
        return "\x1b[32m";
      case Colour::kWarning:
        return "\x1b[33m";
      case Colour::kBad:
        return "\x1b[31m";
      case Colour::kFaint:
        return "\x1b[2m";
      case Colour::kHeading:
        return "\x1b[1m";
      case Colour::kNone:
        break;
    }
    return "";
  }

  bool on_;
};

// The member of an object, null when it is absent or that is not an object.
Json Member(const Json& object, const std::string& name);

// "1.5 s"
std::string Seconds(int64_t milliseconds);

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
