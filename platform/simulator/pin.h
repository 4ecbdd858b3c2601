// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "common/result.h"

namespace kor::modem {

// One PIN of a SIM card (3GPP TS 31.101): its lock, the tries that are left, and the PUK that gives new ones. Results
// are those of kor::wwan::DeviceManager. What is no PIN or PUK at all, 4 to 8 digits and 8, costs no try: kFailure.
//
// Thread safety: for one thread at a time.
class Pin {
 public:
  kor::Result SetLock(bool enable, const std::string& pin);
  kor::Result Change(const std::string& old_pin, const std::string& new_pin);

  // kPinBlocked or kPinPermanentlyBlocked, kPinDisabled, kPinVerified or kPinNotVerified.
  kor::Result Status() const;

  int tries_left() const { return pin_tries_; }
  int puk_tries_left() const { return puk_tries_; }

  // Gives the PIN, which is wanted while its lock is on.
  kor::Result Verify(const std::string& pin);

  // When the PUK is right, `new_pin` is the PIN from now on, and verified.
  kor::Result Unblock(const std::string& puk, const std::string& new_pin);

  // The card starts: a PIN whose lock is on is wanted again.
  void Restart() { verified_ = false; }

 private:
  static constexpr int kPinTries = 3;
  static constexpr int kPukTries = 10;

  std::string pin_ = "1234";
  int pin_tries_ = kPinTries;
  int puk_tries_ = kPukTries;
  bool locked_ = false;
  bool verified_ = false;
};

}  // namespace kor::modem
