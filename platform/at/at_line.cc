// SPDX-License-Identifier: Apache-2.0
#include "at/at_line.h"

#include <cctype>
#include <charconv>
#include <string>
#include <system_error>

namespace kor::modem {

namespace {

using kor::wwan::AtManager;

constexpr std::string_view kExtendedLeads = "+*#$%^!";
constexpr std::string_view kExtendedMarks = "!%-./:_";  // Besides letters and digits.

bool Holds(std::string_view set, char c) { return set.find(c) != std::string_view::npos; }
bool IsLetter(char c) { return isalpha(static_cast<unsigned char>(c)) != 0; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsNameCharacter(char c) { return IsLetter(c) || IsDigit(c) || Holds(kExtendedMarks, c); }

std::string Upper(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
  return upper;
}

std::string WithoutBlanks(std::string_view body) {
  std::string text;
  bool quoted = false;
  for (const char c : body) {
    if (c == '"') quoted = !quoted;
    if (quoted || c != ' ') text += c;
  }
  return text;
}

// Takes commands off the front of a text without blanks.
class Parser {
 public:
  explicit Parser(std::string_view rest) : rest_(rest) {}

  bool AtEnd() const { return rest_.empty(); }

  // Requires: not AtEnd().
  AtCommand Next() {
    AtCommand command;
    const bool right = Holds(kExtendedLeads, rest_.front()) ? TakeExtended(command) : TakeBasic(command);
    if (!right) command.op = AtManager::kOpNone;
    (void)Take(';');
    return command;
  }

 private:
  bool EndsHere() const { return rest_.empty() || rest_.front() == ';'; }

  bool Take(char c) {
    if (rest_.empty() || rest_.front() != c) return false;
    rest_.remove_prefix(1);
    return true;
  }

  template <typename Test>
  std::string_view TakeWhile(Test test) {
    size_t size = 0;
    while (size < rest_.size() && test(rest_[size])) ++size;
    const std::string_view taken = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return taken;
  }

  bool TakeExtended(AtCommand& command) {
    command.name = rest_.front();
    rest_.remove_prefix(1);
    command.name += Upper(TakeWhile(IsNameCharacter));
    if (command.name.size() < 2 || !IsLetter(command.name[1])) return false;
    command.op = AtManager::kOpPlain;
    if (Take('?')) {
      command.op = AtManager::kOpRead;
    } else if (Take('=') && !TakeTest(command)) {
      command.op = AtManager::kOpSet;
      if (!TakeParameters(command)) return false;
    }
    return EndsHere();
  }

  // The "?" of "=?"; one that more follows is a parameter's first character.
  bool TakeTest(AtCommand& command) {
    if (rest_ != "?" && rest_.substr(0, 2) != "?;") return false;
    rest_.remove_prefix(1);
    command.op = AtManager::kOpTest;
    return true;
  }

  bool TakeParameters(AtCommand& command) {
    if (EndsHere()) return true;
    do {
      std::string& param = command.params.emplace_back();
      if (Take('"')) {
        if (!TakeString(param)) return false;
      } else {
        param = TakeWhile([](char c) { return c != ',' && c != ';' && c != '"'; });
      }
    } while (Take(','));
    return true;
  }

  // The rest of a string, with the quote at its end.
  bool TakeString(std::string& value) {
    while (!Take('"')) {
      if (rest_.empty()) return false;
      value += TakeStringCharacter();
    }
    return true;
  }

  char TakeStringCharacter() {
    char c = rest_.front();
    const char* const digits = rest_.data() + 1;
    unsigned char code = 0;
    const bool escaped =
        c == '\\' && rest_.size() > 2 && std::from_chars(digits, digits + 2, code, 16).ptr == digits + 2;
    if (escaped) c = static_cast<char>(code);
    rest_.remove_prefix(escaped ? 3 : 1);
    return c;
  }

  bool TakeBasic(AtCommand& command) {
    if (Take('&')) command.name = '&';
    if (AtEnd() || !IsLetter(rest_.front())) return false;
    command.name += Upper(rest_.substr(0, 1));
    rest_.remove_prefix(1);
    const std::string number(TakeWhile(IsDigit));
    if (command.name == "S") return TakeRegister(command, number);
    command.op = number.empty() ? AtManager::kOpPlain : AtManager::kOpSet;
    if (!number.empty()) command.params.push_back(number);
    return true;
  }

  bool TakeRegister(AtCommand& command, const std::string& number) {
    command.name += number;
    command.op = AtManager::kOpRead;
    if (Take('?')) return !number.empty();
    command.op = AtManager::kOpSet;
    if (!Take('=')) return false;
    command.params.emplace_back(TakeWhile(IsDigit));
    return !number.empty() && !command.params.front().empty();
  }

  std::string_view rest_;
};

}  // namespace

std::vector<AtCommand> ParseAtLine(std::string_view body) {
  std::vector<AtCommand> commands;
  const std::string text = WithoutBlanks(body);
  Parser parser(text);
  while (!parser.AtEnd()) {
    commands.push_back(parser.Next());
    if (commands.back().op == AtManager::kOpNone) break;
  }
  return commands;
}

std::optional<int64_t> ParseNumber(const std::string& word, int64_t least, int64_t most) {
  int64_t value = 0;
  const char* const end = word.data() + word.size();
  const auto parsed = std::from_chars(word.data(), end, value);
  if (parsed.ec != std::errc() || parsed.ptr != end || value < least || value > most) return std::nullopt;
  return value;
}

}  // namespace kor::modem
