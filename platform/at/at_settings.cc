// SPDX-License-Identifier: Apache-2.0
#include "at/at_settings.h"

#include <cstdio>
#include <string>

#include "at/at_line.h"

namespace kor::modem {

namespace {

using kor::wwan::AtManager;

// A command with one number, which it sets if it is there to be looked at.
struct Setting {
  const char* name;
  uint8_t AtSettings::*value;
  int64_t least;
  int64_t most;
};

constexpr Setting kSettings[] = {
    {"E", &AtSettings::echo, 0, 1},
    {"V", &AtSettings::verbose, 0, 1},
    {"Q", &AtSettings::quiet, 0, 1},
    {"S0", &AtSettings::rings, 0, 255},
    {"S3", &AtSettings::line_end, 0, 127},
    {"S4", &AtSettings::line_feed, 0, 127},
    {"S5", &AtSettings::erase, 0, 127},
    {"S7", &AtSettings::carrier_wait, 1, 255},
    {"H", nullptr, 0, 0},
    {"L", nullptr, 0, 3},
    {"M", nullptr, 0, 2},
    {"X", nullptr, 0, 4},
    {"&C", nullptr, 0, 1},
    {"&D", nullptr, 0, 2},
};

const AtReply kOk{};
const AtReply kWrong{"", kAtNotSupported};

// The one number of a command, 0 when it has none (V.250 5.3.1).
std::optional<int64_t> Number(const AtCommand& command, int64_t least, int64_t most) {
  if (command.op == AtManager::kOpPlain && least == 0) return 0;
  if (command.op != AtManager::kOpSet || command.params.size() != 1) return std::nullopt;
  return ParseNumber(command.params.front(), least, most);
}

AtReply Run(const Setting& setting, const AtCommand& command, AtSettings& settings) {
  if (command.op == AtManager::kOpRead && setting.value != nullptr) {
    char text[8];
    snprintf(text, sizeof(text), "%03d", settings.*setting.value);
    return {text, std::nullopt};
  }
  const auto number = Number(command, setting.least, setting.most);
  if (!number) return kWrong;
  if (setting.value != nullptr) settings.*setting.value = static_cast<uint8_t>(*number);
  return kOk;
}

AtReply Reset(const AtCommand& command, AtSettings& settings) {
  if (!Number(command, 0, 0)) return kWrong;
  settings = AtSettings();
  return kOk;
}

AtReply RunCmee(const AtCommand& command, AtSettings& settings) {
  if (command.op == AtManager::kOpTest) return {"+CMEE: (0-2)", std::nullopt};
  if (command.op == AtManager::kOpRead) return {"+CMEE: " + std::to_string(settings.cmee), std::nullopt};
  const auto mode = command.op == AtManager::kOpSet ? Number(command, 0, 2) : std::nullopt;
  if (!mode) return kWrong;
  settings.cmee = static_cast<uint8_t>(*mode);
  return kOk;
}

}  // namespace

std::optional<AtReply> RunSetting(const AtCommand& command, AtSettings& settings) {
  if (command.name == "Z" || command.name == "&F") return Reset(command, settings);
  if (command.name == "+CMEE") return RunCmee(command, settings);
  for (const Setting& setting : kSettings) {
    if (command.name == setting.name) return Run(setting, command, settings);
  }
  return std::nullopt;
}

}  // namespace kor::modem
