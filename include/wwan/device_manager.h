// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "common/export.h"
#include "common/result.h"

namespace kor::vendor::qcom::qmi {
class DmsQmiClient;
}

namespace kor::wwan {

// The modem as a device: the SIM's PIN lock, the model.
//
// Each operation is one request to the modem and blocks until it has answered, up to seconds (a card works slowly).
// PINs are neither kept nor logged.
//
// Thread safety: all operations may be called from any thread, from event callbacks too, which they hold up.
// Ownership: an object owns nothing; objects may be created and destroyed on several threads.
//
//   switch (device.GetPinStatus()) {
//     case kor::wwan::DeviceManager::kPinNotVerified: ...
class KOR_EXPORT DeviceManager {
 public:
  // Codes beyond those of kor::Result: 0x100 plus QMI DMS's number, of the PIN status (up to 0x105) or of the error.
  static constexpr kor::Result kPinNotVerified{0x101};         // Locked: the PIN is wanted.
  static constexpr kor::Result kPinVerified{0x102};            // The lock is on, the PIN was given.
  static constexpr kor::Result kPinDisabled{0x103};            // The lock is off.
  static constexpr kor::Result kPinBlocked{0x104};             // Too many wrong PINs: the PUK is wanted.
  static constexpr kor::Result kPinPermanentlyBlocked{0x105};  // Too many wrong PUKs: the card is lost.
  static constexpr kor::Result kPinIncorrect{0x10c};           // Wrong PIN: one try less is left.
  static constexpr kor::Result kSimNotReady{0x125};            // No card, no power, or it is still starting.

  // Throws what the vendor's side throws when the modem cannot be reached.
  DeviceManager();
  ~DeviceManager();
  DeviceManager(const DeviceManager&) = delete;
  DeviceManager& operator=(const DeviceManager&) = delete;

  // Switches the lock that asks for the PIN when the card starts. `pin_id`: 1 for PIN1 (the card), 2 for PIN2. `pin`: 4
  // to 8 digits. kSuccess also when the lock was so already and the PIN is right; else kPinIncorrect, kPinBlocked,
  // kPinPermanentlyBlocked or kSimNotReady; kFailure when the modem does not answer or an argument is none.
  // A PIN that is wanted (kPinNotVerified) is entered with it: `enable` true leaves the lock on, false switches it off.
  [[nodiscard]] kor::Result SetPinLock(int pin_id, bool enable, std::string pin);

  // Gives the PIN a new value, which the card takes only while its lock is on (else kPreconditionFailed). Results as
  // above.
  [[nodiscard]] kor::Result ChangePinLockPwd(int pin_id, std::string old_pin, std::string new_pin);

  // The modem's model identifier, for people. kSuccess when `model_id` is filled.
  [[nodiscard]] kor::Result GetModelId(std::string& model_id);

  // The state of PIN1: one of the first five codes above, kSimNotReady, or kFailure when the modem does not answer.
  [[nodiscard]] kor::Result GetPinStatus();

  // Always kNotSupported, `version` is left alone.
  [[nodiscard]] kor::Result GetTmcfgPkgVer(std::string& version);

 private:
  kor::vendor::qcom::qmi::DmsQmiClient* const dms_;  // Not owned.
};

}  // namespace kor::wwan
