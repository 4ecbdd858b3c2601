// SPDX-License-Identifier: Apache-2.0
#include "modem/at_builtins.h"

#include <cstdio>
#include <optional>

#include "modem/identity.h"
#include "modem/scenario_words.h"

namespace kor::modem {

namespace {

using kor::wwan::AtManager;

constexpr int64_t kMaxRegister = 127;

// The one number of a command, 0 when it has none (V.250 5.3.1).
std::optional<int64_t> Number(const AtCommand& command, int64_t most) {
  if (command.op == AtManager::kOpPlain) return 0;
  if (command.op != AtManager::kOpSet || command.params.size() != 1) return std::nullopt;
  return ParseNumber(command.params.front(), 0, most);
}

bool SetSwitch(const AtCommand& command, bool& value) {
  const auto number = Number(command, 1);
  if (number) value = *number == 1;
  return number.has_value();
}

bool RunRegister(const AtCommand& command, char& value, std::string& info) {
  if (command.op == AtManager::kOpRead) {
    char text[8];
    snprintf(text, sizeof(text), "%03d", value);
    info = text;
    return true;
  }
  const auto number = Number(command, kMaxRegister);
  if (number) value = static_cast<char>(*number);
  return number.has_value();
}

bool Reset(const AtCommand& command, AtSettings& settings) {
  const bool right = Number(command, 0).has_value();
  if (right) settings = AtSettings();
  return right;
}

bool RunCmee(const AtCommand& command, AtSettings& settings, std::string& info) {
  if (command.op == AtManager::kOpTest) info = "+CMEE: (0-2)";
  if (command.op == AtManager::kOpRead) info = "+CMEE: " + std::to_string(settings.cmee);
  if (!info.empty()) return true;
  const auto mode = command.op == AtManager::kOpSet ? Number(command, 2) : std::nullopt;
  if (mode) settings.cmee = static_cast<int>(*mode);
  return mode.has_value();
}

// Commands that only tell something: `tests` is what they answer to "=?".
bool Tell(const AtCommand& command, const std::string& value, const char* tests, std::string& info) {
  if (command.op == AtManager::kOpPlain) info = value;
  if (command.op == AtManager::kOpTest) info = tests;
  return command.op == AtManager::kOpPlain || command.op == AtManager::kOpTest;
}

}  // namespace

bool RunBuiltIn(const AtCommand& command, AtSettings& settings, std::string& info) {
  const std::string& name = command.name;
  if (name == "E") return SetSwitch(command, settings.echo);
  if (name == "V") return SetSwitch(command, settings.verbose);
  if (name == "Q") return SetSwitch(command, settings.quiet);
  if (name == "Z" || name == "&F") return Reset(command, settings);
  if (name == "S3") return RunRegister(command, settings.line_end, info);
  if (name == "S4") return RunRegister(command, settings.line_feed, info);
  if (name == "S5") return RunRegister(command, settings.erase, info);
  if (name == "I") {
    info = std::string(kMaker) + "\n" + kModel;
    return Number(command, 0).has_value();
  }
  if (name == "+CMEE") return RunCmee(command, settings, info);
  if (name == "+CGMI") return Tell(command, kMaker, "", info);
  if (name == "+CGMM") return Tell(command, kModel, "", info);
  if (name == "+CSQ") return Tell(command, "+CSQ: 99,99", "+CSQ: (0-31,99),(0-7,99)", info);
  return false;
}

}  // namespace kor::modem
