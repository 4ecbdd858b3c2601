// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "common/ip_family.h"
#include "common/result.h"

namespace kor::modem {

// The arguments of one scenario command, taken one after the other. The first that is missing or wrong is kept as the
// error; what is returned for it, and for all that follow, has no meaning.
//
// Thread safety: for one thread.
class Arguments {
 public:
  // `words`: the command and its arguments.
  explicit Arguments(std::vector<std::string> words) : words_(std::move(words)) {}

  // `name` is what messages call the argument.
  int Count(const char* name);
  int OptionalCount(const char* name);                                   // 0 when there are no words left.
  int Number(const char* name, const char* takes, int least, int most);  // `takes`: what messages say of it.
  // The place of a word in `words`, as a value of the enumeration that lists them in that order.
  template <typename Enum>
  Enum Choice(const char* name, const char* words) {
    return static_cast<Enum>(Place(name, words));
  }
  std::chrono::milliseconds Delay(const char* name);
  int32_t Handle(const char* name);
  kor::util::IPFamily Family(const char* name);
  bool Switch(const char* name);
  std::string Server(const char* name, kor::util::IPFamily family);
  std::string Operation(const char* name);
  std::string Path(const char* name);     // "-" is an empty text.
  std::string Line(const char* name);     // Any text that is not empty.
  kor::Result Failure(const char* name);  // Any result but success; kFailure when there are no words left.

  // Whether there is another word.
  bool Left() const { return next_ < words_.size(); }

  // No word is left over. To be asked when all have been taken.
  void End();

  // Empty iff all arguments were there and right.
  const std::string& error() const { return error_; }

 private:
  int Place(const char* name, const char* words);

  // Takes the next word as what `parse` makes of it.
  template <typename T, typename Parse>
  T Take(const char* name, const char* takes, Parse parse);

  const std::vector<std::string> words_;
  size_t next_ = 1;
  std::string error_;
};

}  // namespace kor::modem
