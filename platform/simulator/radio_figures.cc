// SPDX-License-Identifier: Apache-2.0
#include "simulator/radio_figures.h"

#include <algorithm>

namespace kor::modem {

namespace {

using kor::wwan::NetworkManager;
using RadioInterface = NetworkManager::RadioInterface;
using Registration = NetworkManager::Registration;
using Status = NetworkManager::NetworkStatus;

// Codes that belong to no operator: 001 is for tests, 999 for private networks.
struct Network {
  const char* mcc;
  const char* mnc;
  const char* name;
  bool forbidden;
  RadioInterface radio;
};

constexpr Network kNetworks[] = {
    {"001", "01", "Home Mobile", false, RadioInterface::kGsm},
    {"001", "01", "Home Mobile", false, RadioInterface::kUmts},
    {"001", "01", "Home Mobile", false, RadioInterface::kLte},
    {"001", "01", "Home Mobile", false, RadioInterface::kNr5g},
    {"001", "02", "Visited Mobile", false, RadioInterface::kGsm},
    {"001", "02", "Visited Mobile", false, RadioInterface::kUmts},
    {"001", "02", "Visited Mobile", false, RadioInterface::kLte},
    {"001", "02", "Visited Mobile", false, RadioInterface::kNr5g},
    {"001", "002", "Three Digits", false, RadioInterface::kLte},
    {"001", "03", "", false, RadioInterface::kGsm},
    {"999", "70", "Campus", true, RadioInterface::kNr5g},
};
constexpr size_t kHome = 0;
constexpr size_t kVisited = 4;

// The cell that serves on a technology, and two that are heard besides: further channels and physical cells.
struct Cell {
  RadioInterface radio;
  uint32_t area_code;
  uint64_t cell_id;
  uint32_t channel;
  uint32_t physical_cell;
  uint32_t next_channel;
  uint32_t next_physical_cell;
};

constexpr Cell kCells[] = {
    {RadioInterface::kGsm, 0x2a01, 0x5c21, 62, 21, 75, 33},
    {RadioInterface::kUmts, 0x2a02, 0x1345c22, 10737, 210, 10762, 318},
    {RadioInterface::kLte, 0x2a03, 0x8a35c03, 1300, 101, 3350, 288},
    {RadioInterface::kNr5g, 0x2a0304, 0x48a35c041, 632628, 301, 156510, 512},
};

const Cell& CellOf(RadioInterface radio) {
  const auto found =
      std::find_if(std::begin(kCells), std::end(kCells), [=](const Cell& c) { return c.radio == radio; });
  return *found;
}

// The technology of the cell that serves; LTE in non-standalone mode.
RadioInterface ServingRadio(const RadioState& state) {
  if (!InService(state)) return RadioInterface::kNone;
  switch (state.technology) {
    case Technology::kGsm:
      return RadioInterface::kGsm;
    case Technology::kUmts:
      return RadioInterface::kUmts;
    case Technology::kLte:
    case Technology::kLteNr5g:
      return RadioInterface::kLte;
    case Technology::kNr5g:
      return RadioInterface::kNr5g;
    case Technology::kNone:
      break;
  }
  return RadioInterface::kNone;
}

bool Hears5g(const RadioState& state) {
  return InService(state) && (state.technology == Technology::kLteNr5g || state.technology == Technology::kNr5g);
}

const Network& ServingNetwork(const RadioState& state) { return kNetworks[state.roaming ? kVisited : kHome]; }

bool IsSameOperator(const Network& a, const Network& b) {
  return std::string(a.mcc) == b.mcc && std::string(a.mnc) == b.mnc;
}

// From `worst` at level 0 to `best` at level 100.
int At(const RadioState& state, int worst, int best) { return worst + (best - worst) * state.level / 100; }

int RsrpAt(const RadioState& state) { return At(state, -124, -70); }
int RsrqAt(const RadioState& state) { return At(state, -19, -6); }

// dBm on GSM and UMTS.
int RssiAt(const RadioState& state) { return At(state, -113, -51); }

// Errors, in hundredths of a percent, rise steeply as the signal goes.
int BlerAt(const RadioState& state) {
  const int lost = 100 - state.level;
  return lost * lost / 2;
}

Status StatusOf(const Network& network, const RadioState& state) {
  const bool denied = state.registration == Registration::kDenied && IsSameOperator(network, ServingNetwork(state));
  if (network.forbidden || denied) return Status::kForbidden;
  const bool serves = network.radio == ServingRadio(state) && IsSameOperator(network, ServingNetwork(state));
  return serves ? Status::kCurrent : Status::kAvailable;
}

bool HasRsrp(RadioInterface radio) { return radio == RadioInterface::kLte || radio == RadioInterface::kNr5g; }

NetworkManager::NeighbourCell Neighbour(RadioInterface radio, uint32_t channel, uint32_t physical_cell,
                                        const RadioState& state, int weaker) {
  const int level = HasRsrp(radio) ? RsrpAt(state) : RssiAt(state);
  NetworkManager::NeighbourCell cell{radio, channel, physical_cell, level - weaker, std::nullopt};
  if (HasRsrp(radio)) cell.rsrq = RsrqAt(state) - weaker / 2;
  return cell;
}

}  // namespace

bool InService(const RadioState& state) {
  return state.registration == Registration::kRegistered && state.technology != Technology::kNone;
}

NetworkManager::ScanResult ScanOf(const RadioState& state) {
  NetworkManager::ScanResult result{kor::Result::kSuccess, {}};
  for (const Network& network : kNetworks) {
    result.networks.push_back({network.mcc, network.mnc, network.name, StatusOf(network, state), network.radio});
  }
  return result;
}

NetworkManager::SignalInfo SignalOf(const RadioState& state) {
  NetworkManager::SignalInfo info;
  info.result = kor::Result::kSuccess;
  const RadioInterface radio = ServingRadio(state);
  if (radio == RadioInterface::kGsm) info.gsm = NetworkManager::GsmSignal{RssiAt(state)};
  if (radio == RadioInterface::kUmts) info.umts = NetworkManager::UmtsSignal{RssiAt(state), At(state, 40, 6)};
  if (radio == RadioInterface::kLte) {
    // Over 100 resource blocks the whole band is some 30 dB above one reference signal.
    info.lte = NetworkManager::LteSignal{RsrpAt(state) + 30, RsrpAt(state), RsrqAt(state), At(state, -60, 250)};
  }
  if (Hears5g(state)) info.nr5g = NetworkManager::Nr5gSignal{RsrpAt(state) - 4, RsrqAt(state), At(state, -80, 280)};
  return info;
}

NetworkManager::ErrorRate ErrorRateOf(const RadioState& state) {
  NetworkManager::ErrorRate rate;
  rate.result = kor::Result::kSuccess;
  const RadioInterface radio = ServingRadio(state);
  if (radio == RadioInterface::kGsm) rate.gsm_rxqual = At(state, 7, 0);
  if (radio == RadioInterface::kUmts) rate.umts_bler = BlerAt(state);
  if (radio == RadioInterface::kLte) rate.lte_bler = BlerAt(state);
  if (Hears5g(state)) rate.nr5g_bler = BlerAt(state);
  return rate;
}

NetworkManager::CellLocationInfo CellsOf(const RadioState& state) {
  NetworkManager::CellLocationInfo info;
  info.result = kor::Result::kSuccess;
  const RadioInterface radio = ServingRadio(state);
  if (radio == RadioInterface::kNone) return info;
  const Cell& cell = CellOf(radio);
  const Network& network = ServingNetwork(state);
  const auto own = Neighbour(radio, cell.channel, cell.physical_cell, state, 0);
  info.serving = {radio,        network.mcc,        network.mnc, cell.area_code, cell.cell_id,
                  cell.channel, cell.physical_cell, own.rsrp,    own.rsrq};
  info.neighbours.push_back(Neighbour(radio, cell.channel, cell.next_physical_cell, state, 6));
  info.neighbours.push_back(Neighbour(radio, cell.next_channel, cell.physical_cell, state, 12));
  if (state.technology == Technology::kLteNr5g) {
    const Cell& nr5g = CellOf(RadioInterface::kNr5g);
    info.neighbours.push_back(Neighbour(RadioInterface::kNr5g, nr5g.channel, nr5g.physical_cell, state, 4));
  }
  return info;
}

NetworkManager::SystemInfo SystemOf(const RadioState& state) {
  NetworkManager::SystemInfo info;
  info.result = kor::Result::kSuccess;
  info.registration = state.registration;
  info.radio = ServingRadio(state);
  if (info.radio == RadioInterface::kNone) return info;
  info.roaming = state.roaming;
  info.packet_switched = true;
  info.circuit_switched = !HasRsrp(info.radio);
  const Network& network = ServingNetwork(state);
  info.mcc = network.mcc;
  info.mnc = network.mnc;
  info.name = network.name;
  info.area_code = CellOf(info.radio).area_code;
  info.cell_id = CellOf(info.radio).cell_id;
  return info;
}

}  // namespace kor::modem
