// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "at/at_settings.h"

namespace kor::modem {

// The command line that is being typed at one terminal, from its prefix "AT" (in either case) to its end; whatever
// comes before a prefix is forgotten. The erase character, or DEL, takes back the last character; other control
// characters are ignored. Bounded: of a line that is longer than kMaxLine only the end is looked for.
//
// Thread safety: for one thread.
class AtEditor {
 public:
  static constexpr size_t kMaxLine = 2048;

  enum class Event {
    kNothing,
    kLine,    // A line is complete: to be taken.
    kRepeat,  // "A/": the last line once more.
  };

  // Takes one character; appends what the terminal is to show for it.
  Event Type(char c, const AtSettings& settings, std::string& echo);

  // The line that was completed, without prefix and end; nothing when it was too long.
  std::optional<std::string> TakeLine();

  // Whether no command line has been begun.
  bool empty() const { return line_.empty(); }

  void Clear();

 private:
  Event Append(char c);

  std::string line_;       // "A", or "AT" and more.
  bool too_long_ = false;  // Characters of line_ are missing.
};

}  // namespace kor::modem
