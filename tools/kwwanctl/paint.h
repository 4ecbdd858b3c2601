// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kor::ctl {

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

}  // namespace kor::ctl
