// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/arg_type.h"

#include <charconv>

#include "common/addresses.h"
#include "shared/escape.h"

namespace kor::ctl {

ArgType Number(int64_t min, int64_t max) {
  return {"a number from " + std::to_string(min) + " to " + std::to_string(max),
          {},
          [min, max](const std::string& word) -> std::optional<Json> {
            int64_t number = 0;
            const char* end = word.data() + word.size();
            const auto [rest, error] = std::from_chars(word.data(), end, number);
            if (error != std::errc() || rest != end || number < min || number > max) return std::nullopt;
            return number;
          }};
}

ArgType Text(const std::string& what) {
  return {what, {}, [](const std::string& word) -> std::optional<Json> {
            if (word.empty() || !kor::tools::IsUtf8(word)) return std::nullopt;
            return word;
          }};
}

ArgType Words(const std::vector<std::pair<std::string, Json>>& words) {
  ArgType type;
  for (const auto& entry : words) type.words.push_back(entry.first);
  type.text = Listed(type.words);
  type.parse = [words](const std::string& word) -> std::optional<Json> {
    for (const auto& [known, value] : words) {
      if (known == word) return value;
    }
    return std::nullopt;
  };
  return type;
}

ArgType OneOf(const std::vector<std::string>& words) {
  std::vector<std::pair<std::string, Json>> same;
  for (const std::string& word : words) same.emplace_back(word, word);
  return Words(same);
}

ArgType OnOff() { return Words({{"on", true}, {"off", false}}); }

ArgType Address() {
  return {"an IPv4 address like 192.168.2.1", {}, [](const std::string& word) -> std::optional<Json> {
            if (!kor::util::ParseIpv4(word)) return std::nullopt;
            return word;
          }};
}

ArgType Flag(const Json& value) {
  return {"", {}, [value](const std::string&) { return std::optional<Json>(value); }};
}

}  // namespace kor::ctl
