// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "kwwand/host/words.h"
#include "kwwand/wire/method.h"

namespace kor::host {

constexpr int kMaxProfile = 24;  // The modem's profiles are numbered from 1 to this.

// A request's params, read member by member. What is wrong throws RequestError(kInvalidParams): the message says which
// member and what it takes, the data has both ("argument", "takes") and "nearest" when something near was likely meant.
// A member that is null is as good as absent; one without a default must be there.
//
//   const Params params(request, {"index", "family"});
//   const IPFamily family = params.Choice("family", kCallFamilies);
class Params {
 public:
  // Requires: `request` outlives this. Members other than `members` are refused.
  Params(const Request& request, std::initializer_list<const char*> members);

  bool Has(const char* name) const { return Find(name) != nullptr; }

  int Number(const char* name, int min, int max) const;
  int Number(const char* name, int min, int max, int otherwise) const;

  bool Switch(const char* name) const;
  bool Switch(const char* name, bool otherwise) const;

  // A text of at most `max_size` bytes without NUL.
  std::string Text(const char* name, size_t max_size) const;
  std::string Text(const char* name, size_t max_size, const std::string& otherwise) const;

  // The same, for what must never be shown: an error does not repeat it.
  std::string Secret(const char* name, size_t min_size, size_t max_size, const char* takes) const;

  template <typename E, size_t kCount>
  E Choice(const char* name, const Word<E> (&words)[kCount]) const {
    std::vector<std::string> texts;
    for (const Word<E>& word : words) texts.emplace_back(word.text);
    return words[ChoiceOf(name, texts)].value;
  }
  template <typename E, size_t kCount>
  E Choice(const char* name, const Word<E> (&words)[kCount], E otherwise) const {
    return Has(name) ? Choice(name, words) : otherwise;
  }

  kor::wwan::Tech Technology(const char* name) const;

  // Throws: `name` is not one of what it `takes`.
  [[noreturn]] void Refuse(const std::string& name, const std::string& takes,
                           const std::optional<std::string>& nearest = std::nullopt) const;

 private:
  const Json* Find(const std::string& name) const;
  const Json& Get(const char* name, const std::string& takes) const;
  size_t ChoiceOf(const char* name, const std::vector<std::string>& texts) const;

  const Json& params_;
};

}  // namespace kor::host
