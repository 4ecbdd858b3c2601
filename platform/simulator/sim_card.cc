// SPDX-License-Identifier: Apache-2.0
#include "simulator/sim_card.h"

#include "wwan/device_manager.h"

namespace kor::modem {

using kor::wwan::DeviceManager;

kor::Result SimCard::SetPower(int slot, bool on) {
  if (slot != 1) return kor::Result::kFailure;
  {
    kor::util::MutexLock lock(mutex_);
    if (powered_ == on) return kor::Result::kSuccess;
    powered_ = on;
    RestartLocked();
  }
  changed_();
  return kor::Result::kSuccess;
}

void SimCard::SetPresent(bool present) {
  {
    kor::util::MutexLock lock(mutex_);
    if (present_ == present) return;
    present_ = present;
    RestartLocked();
  }
  changed_();
}

void SimCard::SetStartDelay(Milliseconds delay) {
  kor::util::MutexLock lock(mutex_);
  start_delay_ = delay;
}

kor::Result SimCard::SetPinLock(int pin_id, bool enable, const std::string& pin) {
  return AskPin(pin_id, [&](Pin& of) { return of.SetLock(enable, pin); });
}

kor::Result SimCard::ChangePin(int pin_id, const std::string& old_pin, const std::string& new_pin) {
  return AskPin(pin_id, [&](Pin& of) { return of.Change(old_pin, new_pin); });
}

kor::Result SimCard::VerifyPin(int pin_id, const std::string& pin) {
  return AskPin(pin_id, [&](Pin& of) { return of.Verify(pin); });
}

kor::Result SimCard::UnblockPin(int pin_id, const std::string& puk, const std::string& new_pin) {
  return AskPin(pin_id, [&](Pin& of) { return of.Unblock(puk, new_pin); });
}

kor::Result SimCard::GetPinStatus(int slot, int pin_id, PinStatus& status) {
  if (slot != 1 || pin_id < 1 || pin_id > kPins) return kor::Result::kFailure;
  kor::util::MutexLock lock(mutex_);
  if (!ready_) return DeviceManager::kSimNotReady;
  const Pin& pin = pins_[pin_id - 1];
  status = {pin.Status(), pin.tries_left(), pin.puk_tries_left()};
  return kor::Result::kSuccess;
}

kor::Result SimCard::State() {
  kor::util::MutexLock lock(mutex_);
  return ready_ ? pins_[0].Status() : DeviceManager::kSimNotReady;
}

void SimCard::Restart() {
  {
    kor::util::MutexLock lock(mutex_);
    RestartLocked();
  }
  changed_();
}

bool SimCard::IsUsable() {
  kor::util::MutexLock lock(mutex_);
  const kor::Result status = pins_[0].Status();
  return ready_ && (status == DeviceManager::kPinDisabled || status == DeviceManager::kPinVerified);
}

bool SimCard::IsStarting() {
  kor::util::MutexLock lock(mutex_);
  return present_ && powered_ && !ready_;
}

void SimCard::RestartLocked() {
  ready_ = false;
  ++life_;
  for (Pin& pin : pins_) pin.Restart();
  if (!present_ || !powered_) return;
  events_.Post(start_delay_, [this, life = life_] { FinishStart(life); });
}

void SimCard::FinishStart(uint64_t life) {
  {
    kor::util::MutexLock lock(mutex_);
    if (life != life_) return;
    ready_ = true;
  }
  changed_();
}

kor::Result SimCard::AskPin(int pin_id, const std::function<kor::Result(Pin&)>& ask) {
  if (pin_id < 1 || pin_id > kPins) return kor::Result::kFailure;
  kor::Result result;
  {
    kor::util::MutexLock lock(mutex_);
    if (!ready_) return DeviceManager::kSimNotReady;
    result = ask(pins_[pin_id - 1]);
  }
  changed_();
  return result;
}

}  // namespace kor::modem
