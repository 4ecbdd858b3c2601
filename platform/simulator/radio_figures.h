// SPDX-License-Identifier: Apache-2.0
// What a modem in a given state hears and says: plausible figures for each technology. Pure.
#pragma once

#include "simulator/sim_modem.h"
#include "wwan/network_manager.h"

namespace kor::modem {

struct RadioState {
  Technology technology = Technology::kLte;
  kor::wwan::NetworkManager::Registration registration = kor::wwan::NetworkManager::Registration::kRegistered;
  bool roaming = false;
  int level = 75;  // How good the signal is, 0 to 100.
};

// Registered, on some technology.
bool InService(const RadioState& state);

// Each with the result kSuccess; what there is not without service is absent or empty.
kor::wwan::NetworkManager::ScanResult ScanOf(const RadioState& state);
kor::wwan::NetworkManager::SignalInfo SignalOf(const RadioState& state);
kor::wwan::NetworkManager::ErrorRate ErrorRateOf(const RadioState& state);
kor::wwan::NetworkManager::CellLocationInfo CellsOf(const RadioState& state);
kor::wwan::NetworkManager::SystemInfo SystemOf(const RadioState& state);

}  // namespace kor::modem
