// SPDX-License-Identifier: Apache-2.0
// sim.*: the card's power. pin.*: its lock. PINs go to the modem and nowhere else.
#include "kwwand/host/words.h"
#include "kwwand/methods/params.h"
#include "kwwand/methods/registry.h"

namespace kor::host {

namespace {

using kor::wwan::DeviceManager;

constexpr int kMaxSlot = 8;
constexpr Word<kor::Result> kPinStatuses[] = {{DeviceManager::kPinNotVerified, "not verified"},
                                              {DeviceManager::kPinVerified, "verified"},
                                              {DeviceManager::kPinDisabled, "disabled"},
                                              {DeviceManager::kPinBlocked, "blocked"},
                                              {DeviceManager::kPinPermanentlyBlocked, "permanently blocked"}};

Json SetPower(Core& core, const Request& request, bool on) {
  const Params params(request, {"slot"});
  const int slot = params.Number("slot", 1, kMaxSlot, 1);
  Check(on ? core.sim->TurnOnPower(slot) : core.sim->TurnOffPower(slot), "slot " + std::to_string(slot));
  return {{"slot", slot}, {"power", on ? "on" : "off"}};
}

Json TurnSimOn(Core& core, const Request& request) { return SetPower(core, request, true); }

Json TurnSimOff(Core& core, const Request& request) { return SetPower(core, request, false); }

// PIN1's.
Json StatusJson(Core& core) {
  const kor::Result status = core.device->GetPinStatus();
  for (const auto& word : kPinStatuses) {
    if (word.value == status) return {{"status", word.text}};
  }
  Check(status, "");
  throw RequestError(static_cast<int>(kor::Result::kFailure), "the modem does not report the PIN's status");
}

Json PinStatus(Core& core, const Request& request) {
  const Params params(request, {});
  return StatusJson(core);
}

std::string PinOf(const Params& params, const char* name) {
  std::string pin = params.Secret(name, 4, 8, "4 to 8 digits");
  if (pin.find_first_not_of("0123456789") == std::string::npos) return pin;
  throw RequestError(kInvalidParams, std::string(name) + ": takes 4 to 8 digits",
                     {{"argument", name}, {"takes", "4 to 8 digits"}});
}

Json SetLock(Core& core, const Request& request, bool on) {
  const Params params(request, {"pin_id", "pin"});
  const int pin_id = params.Number("pin_id", 1, 2, 1);
  Check(core.device->SetPinLock(pin_id, on, PinOf(params, "pin")), "");
  return StatusJson(core);
}

Json LockPin(Core& core, const Request& request) { return SetLock(core, request, true); }

Json UnlockPin(Core& core, const Request& request) { return SetLock(core, request, false); }

Json ChangePin(Core& core, const Request& request) {
  const Params params(request, {"pin_id", "old_pin", "new_pin"});
  const int pin_id = params.Number("pin_id", 1, 2, 1);
  const kor::Result result = core.device->ChangePinLockPwd(pin_id, PinOf(params, "old_pin"), PinOf(params, "new_pin"));
  Check(result, result == kor::Result::kPreconditionFailed ? "a PIN can be changed only while its lock is on" : "");
  return StatusJson(core);
}

}  // namespace

void AddSimMethods(Registry& registry) {
  registry.Change("sim.on", TurnSimOn, Lane::kWaiting);
  registry.Change("sim.off", TurnSimOff, Lane::kWaiting);
  registry.Read("pin.status", PinStatus, Lane::kWaiting);
  registry.Change("pin.lock", LockPin, Lane::kWaiting);
  registry.Change("pin.unlock", UnlockPin, Lane::kWaiting);
  registry.Change("pin.change", ChangePin, Lane::kWaiting);
}

}  // namespace kor::host
