// SPDX-License-Identifier: Apache-2.0
#include "simulator/pin.h"

#include <algorithm>

#include "wwan/device_manager.h"

namespace kor::modem {

namespace {

using kor::wwan::DeviceManager;

constexpr char kPuk[] = "12345678";
constexpr size_t kLeastPin = 4;
constexpr size_t kMostPin = 8;
constexpr size_t kPukLength = 8;

bool IsNumber(const std::string& text, size_t least, size_t most) {
  return text.size() >= least && text.size() <= most &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

kor::Result Pin::SetLock(bool enable, const std::string& pin) {
  const kor::Result result = Verify(pin);
  if (result == kor::Result::kSuccess) locked_ = enable;
  return result;
}

kor::Result Pin::Change(const std::string& old_pin, const std::string& new_pin) {
  if (!IsNumber(new_pin, kLeastPin, kMostPin)) return kor::Result::kFailure;
  if (!locked_) return kor::Result::kPreconditionFailed;
  const kor::Result result = Verify(old_pin);
  if (result == kor::Result::kSuccess) pin_ = new_pin;
  return result;
}

kor::Result Pin::Status() const {
  if (puk_tries_ == 0) return DeviceManager::kPinPermanentlyBlocked;
  if (pin_tries_ == 0) return DeviceManager::kPinBlocked;
  if (!locked_) return DeviceManager::kPinDisabled;
  return verified_ ? DeviceManager::kPinVerified : DeviceManager::kPinNotVerified;
}

kor::Result Pin::Unblock(const std::string& puk, const std::string& new_pin) {
  if (!IsNumber(puk, kPukLength, kPukLength) || !IsNumber(new_pin, kLeastPin, kMostPin)) return kor::Result::kFailure;
  if (puk_tries_ == 0) return Status();
  if (puk != kPuk) return --puk_tries_ == 0 ? Status() : DeviceManager::kPinIncorrect;
  pin_ = new_pin;
  pin_tries_ = kPinTries;
  puk_tries_ = kPukTries;
  verified_ = true;
  return kor::Result::kSuccess;
}

kor::Result Pin::Verify(const std::string& pin) {
  if (!IsNumber(pin, kLeastPin, kMostPin)) return kor::Result::kFailure;
  if (pin_tries_ == 0 || puk_tries_ == 0) return Status();
  if (pin != pin_) {
    --pin_tries_;
    return pin_tries_ == 0 ? Status() : DeviceManager::kPinIncorrect;
  }
  pin_tries_ = kPinTries;
  verified_ = true;
  return kor::Result::kSuccess;
}

}  // namespace kor::modem
