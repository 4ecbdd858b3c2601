// SPDX-License-Identifier: Apache-2.0
#include "simulator/scenario_arguments.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "at/at_line.h"
#include "simulator/faults.h"
#include "simulator/scenario_words.h"

namespace kor::modem {

namespace {

constexpr int64_t kMaxCount = 1'000'000;
constexpr int64_t kMaxDelayMs = 3'600'000;
constexpr int64_t kMaxHandle = std::numeric_limits<int32_t>::max();

std::optional<std::string> ParseOperation(const std::string& word) {
  return IsOperation(word) ? std::optional<std::string>(word) : std::nullopt;
}

}  // namespace

template <typename T, typename Parse>
T Arguments::Take(const char* name, const char* takes, Parse parse) {
  if (!error_.empty()) return T{};
  const bool missing = next_ >= words_.size();
  if (!missing) {
    const auto value = parse(words_[next_++]);
    if (value) return static_cast<T>(*value);
  }
  error_ = words_[0] + ": " + name + (missing ? " is missing; it takes " : " takes ") + takes;
  return T{};
}

int Arguments::Count(const char* name) {
  return Take<int>(name, "0 to 1000000", [](const std::string& word) { return ParseNumber(word, 0, kMaxCount); });
}

int Arguments::OptionalCount(const char* name) { return Left() ? Count(name) : 0; }

int Arguments::Number(const char* name, const char* takes, int least, int most) {
  return Take<int>(name, takes, [=](const std::string& word) { return ParseNumber(word, least, most); });
}

int Arguments::Place(const char* name, const char* words) {
  return Take<int>(name, words, [words](const std::string& word) -> std::optional<int> {
    const auto list = SplitWords(words);
    const auto found = std::find(list->begin(), list->end(), word);
    if (found == list->end()) return std::nullopt;
    return static_cast<int>(found - list->begin());
  });
}

std::chrono::milliseconds Arguments::Delay(const char* name) {
  return std::chrono::milliseconds(Take<int64_t>(
      name, "0 to 3600000 milliseconds", [](const std::string& word) { return ParseNumber(word, 0, kMaxDelayMs); }));
}

int32_t Arguments::Handle(const char* name) {
  return Take<int32_t>(name, "a call's handle, such as 100",
                       [](const std::string& word) { return ParseNumber(word, 0, kMaxHandle); });
}

kor::util::IPFamily Arguments::Family(const char* name) {
  return Take<kor::util::IPFamily>(name, "4 or 6", ParseFamily);
}

bool Arguments::Switch(const char* name) { return Take<bool>(name, "on or off", ParseSwitch); }

std::string Arguments::Server(const char* name, kor::util::IPFamily family) {
  const bool ipv4 = family == kor::util::IPFamily::kIpv4;
  return Take<std::string>(name, ipv4 ? "an IPv4 address or -" : "an IPv6 address or -",
                           [family](const std::string& word) { return ParseServer(word, family); });
}

std::string Arguments::Operation(const char* name) { return Take<std::string>(name, kOperationNames, ParseOperation); }

std::string Arguments::Path(const char* name) {
  return Take<std::string>(name, "a path or -", [](const std::string& word) {
    return word.empty() ? std::nullopt : std::optional<std::string>(word == "-" ? "" : word);
  });
}

std::string Arguments::Line(const char* name) {
  return Take<std::string>(name, "a line of text", [](const std::string& word) {
    return word.empty() ? std::nullopt : std::optional<std::string>(word);
  });
}

kor::Result Arguments::Failure(const char* name) {
  if (!Left()) return kor::Result::kFailure;
  return Take<kor::Result>(name, "a result code, 1 to 65535",
                           [](const std::string& word) { return ParseNumber(word, 1, 65535); });
}

void Arguments::End() {
  if (error_.empty() && Left()) error_ = words_[0] + ": \"" + words_[next_] + "\" is one word too many";
}

}  // namespace kor::modem
