// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "common/mutex.h"
#include "common/result.h"
#include "port/event_thread.h"
#include "port/lock_ranks.h"
#include "port/modem_port.h"
#include "simulator/pin.h"

namespace kor::modem {

// The one SIM slot of the simulated modem and the card in it:
//
//   no card or no power --card in and power on--> starting --delay--> ready --card out or power off--> ...
//
// Thread safety: all operations may be called from any thread; none blocks.
class SimCard {
 public:
  using Milliseconds = std::chrono::milliseconds;

  // There is a card, ready, its locks off. `changed` is called, without a lock held, whenever IsUsable() may have
  // changed. `events` must outlive this object.
  SimCard(EventThread& events, std::function<void()> changed) : events_(events), changed_(std::move(changed)) {}

  // As ModemPort has them.
  kor::Result SetPower(int slot, bool on) KOR_EXCLUDES(mutex_);
  kor::Result SetPinLock(int pin_id, bool enable, const std::string& pin) KOR_EXCLUDES(mutex_);
  kor::Result ChangePin(int pin_id, const std::string& old_pin, const std::string& new_pin) KOR_EXCLUDES(mutex_);
  kor::Result VerifyPin(int pin_id, const std::string& pin) KOR_EXCLUDES(mutex_);
  kor::Result UnblockPin(int pin_id, const std::string& puk, const std::string& new_pin) KOR_EXCLUDES(mutex_);
  kor::Result GetPinStatus(int slot, int pin_id, PinStatus& status) KOR_EXCLUDES(mutex_);

  // How PIN1 is, for its terminals: its state, or kSimNotReady.
  kor::Result State() KOR_EXCLUDES(mutex_);

  // Whether a network may be used: the card is ready, and its PIN1 is neither wanted nor blocked.
  bool IsUsable() KOR_EXCLUDES(mutex_);

  // Whether it will be ready by itself.
  bool IsStarting() KOR_EXCLUDES(mutex_);

  void SetPresent(bool present) KOR_EXCLUDES(mutex_);
  void SetStartDelay(Milliseconds delay) KOR_EXCLUDES(mutex_);

  // The card starts anew, as the modem does.
  void Restart() KOR_EXCLUDES(mutex_);

 private:
  static constexpr int kPins = 2;

  // Where a card and its power lead to, after one of them has changed.
  void RestartLocked() KOR_REQUIRES(mutex_);
  void FinishStart(uint64_t life) KOR_EXCLUDES(mutex_);

  // Runs `ask` on a PIN of a card that is ready; the result else: kSimNotReady, or kFailure when there is no such PIN.
  kor::Result AskPin(int pin_id, const std::function<kor::Result(Pin&)>& ask) KOR_EXCLUDES(mutex_);

  // Constant after construction.
  EventThread& events_;
  const std::function<void()> changed_;

  kor::util::Mutex mutex_{rank::kModemCard};
  bool present_ KOR_GUARDED_BY(mutex_) = true;
  bool powered_ KOR_GUARDED_BY(mutex_) = true;
  bool ready_ KOR_GUARDED_BY(mutex_) = true;
  uint64_t life_ KOR_GUARDED_BY(mutex_) = 0;  // A start that belongs to an earlier one has lost its meaning.
  Milliseconds start_delay_ KOR_GUARDED_BY(mutex_){100};
  Pin pins_[kPins] KOR_GUARDED_BY(mutex_);
};

}  // namespace kor::modem
