// SPDX-License-Identifier: Apache-2.0
#include "simulator/at_answers.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "simulator/identity.h"
#include "wwan/device_manager.h"

namespace kor::modem {

namespace {

using kor::wwan::AtManager;
using kor::wwan::DeviceManager;
using kor::wwan::NetworkManager;

constexpr int kUnknown = 99;

const AtReply kWrong{"", kAtNotSupported};

AtReply Info(std::string text) { return {std::move(text), std::nullopt}; }

// A command that tells something in one form; `test` is its answer to "=?".
AtReply Tell(const AtCommand& command, AtManager::Op form, const AtReply& told, const char* test) {
  if (command.op == form) return told;
  return command.op == AtManager::kOpTest ? Info(test) : kWrong;
}

const char* IdentityOf(const std::string& name) {
  constexpr const char* kIdentities[][2] = {
      {"+GMI", kMaker},  {"+GMM", kModel},  {"+GMR", kRevision},  {"+GSN", kSerial},
      {"+CGMI", kMaker}, {"+CGMM", kModel}, {"+CGMR", kRevision}, {"+CGSN", kSerial},
  };
  const auto* const found =
      std::find_if(std::begin(kIdentities), std::end(kIdentities), [&](const auto& one) { return name == one[0]; });
  return found == std::end(kIdentities) ? nullptr : (*found)[1];
}

AtReply PinReply(const SimState& sim) {
  if (sim.pin == DeviceManager::kPinDisabled || sim.pin == DeviceManager::kPinVerified) return Info("+CPIN: READY");
  if (sim.pin == DeviceManager::kPinNotVerified) return Info("+CPIN: SIM PIN");
  if (sim.pin == DeviceManager::kPinBlocked) return Info("+CPIN: SIM PUK");
  if (sim.pin == DeviceManager::kPinPermanentlyBlocked) return {"", AtError{13, "SIM failure"}};
  return {"", sim.starting ? AtError{14, "SIM busy"} : AtError{10, "SIM not inserted"}};
}

// Steps of 2 dB from -113 dBm (TS 27.007 8.5). 5G alone has no RSSI.
int RssiStep(const RadioState& radio) {
  const NetworkManager::SignalInfo signal = SignalOf(radio);
  if (!signal.gsm && !signal.umts && !signal.lte) return kUnknown;
  const int rssi = signal.gsm ? signal.gsm->rssi : signal.umts ? signal.umts->rssi : signal.lte->rssi;
  return std::clamp((rssi + 113) / 2, 0, 31);
}

std::string SignalText(const RadioState& radio) {
  const int error_class = ErrorRateOf(radio).gsm_rxqual.value_or(kUnknown);
  return "+CSQ: " + std::to_string(RssiStep(radio)) + "," + std::to_string(error_class);
}

std::string RegistrationText(const RadioState& radio) {
  constexpr int kRoaming = 5;
  const NetworkManager::SystemInfo system = SystemOf(radio);
  const int state = InService(radio) && radio.roaming ? kRoaming : static_cast<int>(system.registration);
  return "+CREG: 0," + std::to_string(state);
}

AtReply RegistrationReply(const AtCommand& command, const RadioState& radio) {
  // No unsolicited results of it: mode 0 is the only one.
  if (command.op == AtManager::kOpSet && command.params == std::vector<std::string>{"0"}) return {};
  return Tell(command, AtManager::kOpRead, Info(RegistrationText(radio)), "+CREG: (0)");
}

// The access technology of TS 27.007 7.3.
int AccessOf(Technology technology) {
  switch (technology) {
    case Technology::kUmts:
      return 2;
    case Technology::kLte:
      return 7;
    case Technology::kNr5g:
      return 11;
    case Technology::kLteNr5g:
      return 13;
    default:
      return 0;
  }
}

// Selected automatically, with the operator's long name.
std::string OperatorText(const RadioState& radio) {
  if (!InService(radio)) return "+COPS: 0";
  return "+COPS: 0,0,\"" + SystemOf(radio).name + "\"," + std::to_string(AccessOf(radio.technology));
}

bool AsksWho(const AtCommand& command) {
  return command.op == AtManager::kOpPlain || command.params == std::vector<std::string>{"0"};
}

}  // namespace

AtReply AnswerOf(const AtCommand& command, const RadioState& radio, const SimState& sim) {
  if (command.name == "I") return AsksWho(command) ? Info(std::string(kMaker) + "\n" + kModel) : kWrong;
  if (command.name == "+CPIN") return Tell(command, AtManager::kOpRead, PinReply(sim), "");
  if (command.name == "+CREG") return RegistrationReply(command, radio);
  if (command.name == "+COPS") return command.op == AtManager::kOpRead ? Info(OperatorText(radio)) : kWrong;
  if (command.name == "+CSQ") {
    return Tell(command, AtManager::kOpPlain, Info(SignalText(radio)), "+CSQ: (0-31,99),(0-7,99)");
  }
  const char* const identity = IdentityOf(command.name);
  return identity == nullptr ? kWrong : Tell(command, AtManager::kOpPlain, Info(identity), "");
}

}  // namespace kor::modem
