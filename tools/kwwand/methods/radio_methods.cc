// SPDX-License-Identifier: Apache-2.0
// radio.*: what the modem hears.
#include <chrono>
#include <future>

#include "kwwand/host/words.h"
#include "kwwand/methods/params.h"
#include "kwwand/methods/registry.h"

namespace kor::host {

namespace {

using kor::wwan::NetworkManager;

constexpr std::chrono::seconds kQueryLimit{10};
constexpr std::chrono::seconds kScanLimit{180};

// An integer, or null.
Json Or(const std::optional<int>& value) { return value ? Json(*value) : Json(); }

// Asks and waits. An answer that comes too late finds a promise that nobody looks at any more.
template <typename Record>
Record Ask(Core& core, bool (NetworkManager::*query)(std::function<void(Record&, void*)>, void*),
           std::chrono::seconds limit, const char* what) {
  const auto promise = std::make_shared<std::promise<Record>>();
  std::future<Record> answer = promise->get_future();
  const auto keep = [promise](Record& record, void*) { promise->set_value(record); };
  Check(((*core.network).*query)(keep, nullptr), what);
  if (answer.wait_for(limit) != std::future_status::ready) Check(kor::Result::kTimeout, what);
  Record record = answer.get();
  Check(record.result, what);
  return record;
}

Json Scan(Core& core, const Request& request) {
  const Params params(request, {});
  const auto scan = Ask<NetworkManager::ScanResult>(core, &NetworkManager::StartScanAsync, kScanLimit, "the scan");
  Json networks = Json::array();
  for (const auto& network : scan.networks) {
    networks.push_back({{"mcc", network.mcc},
                        {"mnc", network.mnc},
                        {"name", network.name},
                        {"status", TextOf(kNetworkStatuses, network.status)},
                        {"radio", TextOf(kRadios, network.radio)}});
  }
  return {{"networks", networks}};
}

double Decibels(int tenths) { return tenths / 10.0; }

// All in dBm and dB.
Json Signal(Core& core, const Request& request) {
  const Params params(request, {});
  const auto info =
      Ask<NetworkManager::SignalInfo>(core, &NetworkManager::GetSignalInfoAsync, kQueryLimit, "the signal");
  Json json{{"gsm", nullptr}, {"umts", nullptr}, {"lte", nullptr}, {"nr5g", nullptr}};
  if (info.gsm) json["gsm"] = {{"rssi", info.gsm->rssi}};
  if (info.umts) json["umts"] = {{"rssi", info.umts->rssi}, {"ecio", -0.5 * info.umts->ecio}};
  if (info.lte) {
    json["lte"] = {
        {"rssi", info.lte->rssi}, {"rsrp", info.lte->rsrp}, {"rsrq", info.lte->rsrq}, {"snr", Decibels(info.lte->snr)}};
  }
  if (info.nr5g) {
    json["nr5g"] = {{"rsrp", info.nr5g->rsrp}, {"rsrq", info.nr5g->rsrq}, {"snr", Decibels(info.nr5g->snr)}};
  }
  return json;
}

Json ServingJson(const NetworkManager::ServingCell& cell) {
  return {{"radio", TextOf(kRadios, cell.radio)}, {"mcc", cell.mcc},         {"mnc", cell.mnc},
          {"area_code", cell.area_code},          {"cell_id", cell.cell_id}, {"channel", cell.channel},
          {"physical_cell", cell.physical_cell},  {"rsrp", Or(cell.rsrp)},   {"rsrq", Or(cell.rsrq)}};
}

Json NeighbourJson(const NetworkManager::NeighbourCell& cell) {
  return {{"radio", TextOf(kRadios, cell.radio)},
          {"channel", cell.channel},
          {"physical_cell", cell.physical_cell},
          {"rsrp", Or(cell.rsrp)},
          {"rsrq", Or(cell.rsrq)}};
}

Json Cell(Core& core, const Request& request) {
  const Params params(request, {});
  const auto info =
      Ask<NetworkManager::CellLocationInfo>(core, &NetworkManager::GetCellLocationAsync, kQueryLimit, "the cells");
  Json neighbours = Json::array();
  for (const auto& cell : info.neighbours) neighbours.push_back(NeighbourJson(cell));
  return {{"serving", info.serving ? ServingJson(*info.serving) : Json()}, {"neighbours", neighbours}};
}

Json Errors(Core& core, const Request& request) {
  const Params params(request, {});
  const auto rate =
      Ask<NetworkManager::ErrorRate>(core, &NetworkManager::GetErrorRateAsync, kQueryLimit, "the error rates");
  return {{"gsm_rxqual", Or(rate.gsm_rxqual)},
          {"umts_bler", Or(rate.umts_bler)},
          {"lte_bler", Or(rate.lte_bler)},
          {"nr5g_bler", Or(rate.nr5g_bler)}};
}

Json System(Core& core, const Request& request) {
  const Params params(request, {});
  const auto info =
      Ask<NetworkManager::SystemInfo>(core, &NetworkManager::GetSystemInfoAsync, kQueryLimit, "the registration");
  return {{"registration", TextOf(kRegistrations, info.registration)},
          {"roaming", info.roaming},
          {"packet_switched", info.packet_switched},
          {"circuit_switched", info.circuit_switched},
          {"radio", TextOf(kRadios, info.radio)},
          {"mcc", info.mcc},
          {"mnc", info.mnc},
          {"name", info.name},
          {"area_code", info.area_code},
          {"cell_id", info.cell_id}};
}

}  // namespace

void AddRadioMethods(Registry& registry) {
  registry.Change("radio.scan", Scan, Lane::kWaiting);
  registry.Read("radio.signal", Signal, Lane::kWaiting);
  registry.Read("radio.cell", Cell, Lane::kWaiting);
  registry.Read("radio.errors", Errors, Lane::kWaiting);
  registry.Read("radio.system", System, Lane::kWaiting);
}

}  // namespace kor::host
