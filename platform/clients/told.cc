// SPDX-License-Identifier: Apache-2.0
#include "clients/told.h"

#include <system_error>
#include <thread>
#include <utility>

#include "common/log.h"
#include "kutil/signals_blocked.h"

namespace kor::vendor::qcom::qmi {

using kor::modem::ModemPort;
using kor::modem::ModemState;
using kor::util::MutexLock;

Told& Told::Over(ModemPort& port) {
  static Told* const told = new Told(port);
  return *told;
}

Told::Told(ModemPort& port) : port_(port) {
  port_.AddStateReport([this](ModemState state) {
    if (state != ModemState::kReady) return;
    try {
      const kor::util::SignalsBlocked blocked;
      std::thread([this] { Again(); }).detach();
    } catch (const std::system_error& error) {
      KOR_LOG(LOG_ERR, "the AT names cannot be sent to the modem again: %s\n", error.what());
    }
  });
}

kor::Result Told::Names(std::list<std::string> names) {
  const kor::Result result = port_.RegisterAtNames(names);
  if (result != kor::Result::kSuccess) return result;
  MutexLock lock(mutex_);
  names.remove_if([this](const std::string& name) KOR_REQUIRES(mutex_) { return !names_.insert(name).second; });
  if (!names.empty()) requests_.push_back(std::move(names));
  return result;
}

kor::Result Told::Ready() {
  {
    MutexLock lock(mutex_);
    ready_ = true;  // First: a modem that is not there yet is told when it comes.
  }
  return port_.SetSoftwareReady();
}

void Told::Again() {
  std::list<std::list<std::string>> requests;
  bool ready = false;
  {
    MutexLock lock(mutex_);
    requests = requests_;
    ready = ready_;
  }
  kor::Result result = kor::Result::kSuccess;
  // Request by request: which names may stand in one is the library's knowledge.
  for (const auto& names : requests) {
    if (result == kor::Result::kSuccess) result = port_.RegisterAtNames(names);
  }
  if (result == kor::Result::kSuccess && ready) result = port_.SetSoftwareReady();
  if (result == kor::Result::kSuccess) return;
  KOR_LOG(LOG_ERR, "the modem that is back rejects what it was told before: %d\n", static_cast<int>(result));
}

}  // namespace kor::vendor::qcom::qmi
