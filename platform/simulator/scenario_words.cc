// SPDX-License-Identifier: Apache-2.0
#include "simulator/scenario_words.h"

#include "common/addresses.h"

namespace kor::modem {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

bool IsBlank(char c) { return kBlanks.find(c) != std::string_view::npos; }

// Takes one word off the front of `line`, which starts with it. False when a quote is not closed.
bool TakeWord(std::string_view& line, std::string& word) {
  bool quoted = false;
  while (!line.empty() && (quoted || !IsBlank(line.front()))) {
    if (quoted && (line.substr(0, 2) == "\\\"" || line.substr(0, 2) == "\\\\")) {
      word += line[1];
      line.remove_prefix(1);
    } else if (line.front() == '"') {
      quoted = !quoted;
    } else {
      word += line.front();
    }
    line.remove_prefix(1);
  }
  return !quoted;
}

}  // namespace

std::optional<std::vector<std::string>> SplitWords(std::string_view line) {
  std::vector<std::string> words;
  for (;;) {
    while (!line.empty() && IsBlank(line.front())) line.remove_prefix(1);
    if (line.empty() || line.front() == '#') return words;
    std::string word;
    if (!TakeWord(line, word)) return std::nullopt;
    words.push_back(std::move(word));
  }
}

std::optional<kor::util::IPFamily> ParseFamily(const std::string& word) {
  if (word == "4") return kor::util::IPFamily::kIpv4;
  if (word == "6") return kor::util::IPFamily::kIpv6;
  return std::nullopt;
}

std::optional<bool> ParseSwitch(const std::string& word) {
  if (word == "on") return true;
  if (word == "off") return false;
  return std::nullopt;
}

std::optional<std::string> ParseServer(const std::string& word, kor::util::IPFamily family) {
  if (word == "-") return "";
  if (!kor::util::IsAddress(family == kor::util::IPFamily::kIpv4 ? AF_INET : AF_INET6, word)) return std::nullopt;
  return word;
}

}  // namespace kor::modem
