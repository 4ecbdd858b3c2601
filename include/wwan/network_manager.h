// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "common/event_dic.h"
#include "common/export.h"
#include "common/result.h"

namespace kor::vendor::qcom::qmi {
class NasQmiClient;
}

namespace kor::wwan {

// The radio network: what is around, how well it is heard, where the modem is registered.
//
// Asynchronous operations return at once: true when the modem took the request. Its answer then comes as one call of
// `callback` with a record and the caller's `user_data`, on the modem side's own thread; false means that no call
// comes. A record's `result` says whether the modem found an answer: the rest is filled only when it is kSuccess. A
// request that was taken cannot be withdrawn, not even by destroying the object: what `callback` refers to must live
// until it has been called. An empty callback is allowed, its answer is lost.
//
// Thread safety: all operations may be called from any thread.
//
// Callbacks of queries run one at a time with no lock held; they may start further queries, but not call
// GetCellLocation, and a long one holds up all others. Event callbacks run with the publisher's table locked: they must
// not call SetEventCb or UnsetEventCb of any object, nor destroy one.
//
// Ownership: an object owns its subscription and nothing else.
class KOR_EXPORT NetworkManager {
 public:
  // Radio access technologies, as QMI NAS numbers them (radio interface).
  enum class RadioInterface : uint32_t {
    kNone = 0,  // No service.
    kGsm = 4,
    kUmts = 5,
    kLte = 8,
    kNr5g = 12,
  };

  // A network's state in a scan, numbered as in 3GPP TS 27.007 (+COPS=?).
  enum class NetworkStatus : uint32_t {
    kUnknown = 0,
    kAvailable = 1,
    kCurrent = 2,
    kForbidden = 3,
  };

  // One network on one technology. A network heard on several has an entry for each.
  struct ScanEntry {
    std::string mcc;   // Mobile country code, 3 digits (3GPP TS 23.003).
    std::string mnc;   // Mobile network code, 2 or 3 digits; "01" and "001" are different codes.
    std::string name;  // The operator's, as the network gives it, or empty.
    NetworkStatus status = NetworkStatus::kUnknown;
    RadioInterface radio = RadioInterface::kNone;
  };

  struct ScanResult {
    kor::Result result = kor::Result::kFailure;
    std::vector<ScanEntry> networks;
  };

  // Signal figures by technology (QMI NAS signal information; measured as in 3GPP TS 36.214 and TS 38.215).
  struct GsmSignal {
    int rssi = 0;  // Received signal strength, dBm.
  };
  struct UmtsSignal {
    int rssi = 0;  // dBm.
    int ecio = 0;  // Chip energy to interference, in steps of -0.5 dB: 12 is -6 dB.
  };
  struct LteSignal {
    int rssi = 0;  // dBm.
    int rsrp = 0;  // Reference signal received power, dBm.
    int rsrq = 0;  // Reference signal received quality, dB.
    int snr = 0;   // Signal to noise, tenths of a dB.
  };
  struct Nr5gSignal {
    int rsrp = 0;  // SS-RSRP, dBm.
    int rsrq = 0;  // SS-RSRQ, dB.
    int snr = 0;   // Tenths of a dB.
  };

  // The technologies that the modem hears itself served by: LTE and 5G together in non-standalone mode, none without
  // service.
  struct SignalInfo {
    kor::Result result = kor::Result::kFailure;
    std::optional<GsmSignal> gsm;
    std::optional<UmtsSignal> umts;
    std::optional<LteSignal> lte;
    std::optional<Nr5gSignal> nr5g;
  };

  // Error rates of what is received; absent when the modem does not measure one. Block error rates are in hundredths of
  // a percent: 10000 is every block.
  struct ErrorRate {
    kor::Result result = kor::Result::kFailure;
    std::optional<int> gsm_rxqual;  // Class of the bit error rate, 0 (best) to 7 (3GPP TS 45.008).
    std::optional<int> umts_bler;
    std::optional<int> lte_bler;
    std::optional<int> nr5g_bler;
  };

  // A cell that serves the modem.
  struct ServingCell {
    RadioInterface radio = RadioInterface::kNone;
    std::string mcc;  // As in ScanEntry.
    std::string mnc;
    uint32_t area_code = 0;      // Location area (GSM, UMTS: 16 bits) or tracking area code (LTE 16, 5G 24 bits).
    uint64_t cell_id = 0;        // Cell identity: GSM 16, UMTS and LTE 28, 5G 36 bits (3GPP TS 23.003).
    uint32_t channel = 0;        // ARFCN, UARFCN, EARFCN or NR-ARFCN of the downlink.
    uint32_t physical_cell = 0;  // BSIC, primary scrambling code or physical cell id.
    std::optional<int> rsrp;     // LTE, 5G: dBm. GSM: RSSI. UMTS: RSCP.
    std::optional<int> rsrq;     // LTE, 5G: dB.
  };

  // A cell heard besides; its identity is not broadcast to the modem.
  struct NeighbourCell {
    RadioInterface radio = RadioInterface::kNone;
    uint32_t channel = 0;  // As in ServingCell.
    uint32_t physical_cell = 0;
    std::optional<int> rsrp;
    std::optional<int> rsrq;
  };

  struct CellLocationInfo {
    kor::Result result = kor::Result::kFailure;
    std::optional<ServingCell> serving;  // Absent without service.
    std::vector<NeighbourCell> neighbours;
  };

  // Registration with a network, as QMI NAS numbers it.
  enum class Registration : uint32_t {
    kNotRegistered = 0,  // And not searching.
    kRegistered = 1,     // At home, or roaming.
    kSearching = 2,
    kDenied = 3,
    kUnknown = 4,
  };

  struct SystemInfo {
    kor::Result result = kor::Result::kFailure;
    Registration registration = Registration::kUnknown;
    bool roaming = false;           // Registered in a visited network.
    bool packet_switched = false;   // Attached for data.
    bool circuit_switched = false;  // Attached for voice (GSM, UMTS).
    RadioInterface radio = RadioInterface::kNone;
    std::string mcc;  // Of the network that serves, as in ScanEntry; empty without one, as the rest.
    std::string mnc;
    std::string name;
    uint32_t area_code = 0;  // As in ServingCell.
    uint64_t cell_id = 0;
  };

  // Throws what the vendor's side throws when the modem cannot be reached.
  NetworkManager();
  ~NetworkManager();
  NetworkManager(const NetworkManager&) = delete;
  NetworkManager& operator=(const NetworkManager&) = delete;

  // -- Queries -------------------------------------------------------------------------------------------------------

  // Searches for networks on all technologies: takes up to minutes, and data calls may stand still meanwhile.
  bool StartScanAsync(std::function<void(ScanResult&, void*)> callback, void* user_data);

  bool GetSignalInfoAsync(std::function<void(SignalInfo&, void*)> callback, void* user_data);
  bool GetErrorRateAsync(std::function<void(ErrorRate&, void*)> callback, void* user_data);

  // Blocks until the modem has answered, up to seconds; not from a callback. True when `info` is filled.
  bool GetCellLocation(CellLocationInfo& info);
  bool GetCellLocationAsync(std::function<void(CellLocationInfo&, void*)> callback, void* user_data);

  bool GetSystemInfoAsync(std::function<void(SystemInfo&, void*)> callback, void* user_data);

  // -- Events --------------------------------------------------------------------------------------------------------

  // From now on calls `callback` with every event of the radio network, in the modem side's own codes and parameters. A
  // second call replaces the callback.
  void SetEventCb(std::function<void(kor::util::EventDic&)> callback);

  // Ends that; the destructor does it too. Once it has returned, the callback is not running and never runs again.
  void UnsetEventCb();

 private:
  kor::vendor::qcom::qmi::NasQmiClient* const nas_;  // Not owned.
};

}  // namespace kor::wwan
