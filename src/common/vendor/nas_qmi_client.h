// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "common/event_cb_map.h"
#include "common/export.h"
#include "common/vendor/lock_ranks.h"
#include "wwan/network_manager.h"

namespace kor::vendor::qcom::qmi {

// The client of the modem's network access service (QMI NAS): scans, signal, cells, registration.
//
// Asynchronous queries: true when the modem took the request. The client then keeps its own copy of `callback` and
// calls it once, on its own thread, with no lock held, with the answer and `user_data`; never from inside the request.
// An answer that could not be had has a `result` other than kSuccess. An empty callback is allowed. False: no call.
//
// Thread safety: all operations may be called from any thread, from query callbacks too, but for GetCellLocation.
class KOR_EXPORT NasQmiClient {
 public:
  using ScanResult = kor::wwan::NetworkManager::ScanResult;
  using SignalInfo = kor::wwan::NetworkManager::SignalInfo;
  using ErrorRate = kor::wwan::NetworkManager::ErrorRate;
  using CellLocationInfo = kor::wwan::NetworkManager::CellLocationInfo;
  using SystemInfo = kor::wwan::NetworkManager::SystemInfo;

  // The process's one client, alive until the process ends. Throws std::runtime_error when the modem is not reachable.
  static NasQmiClient* GetInstance();

  bool StartScanAsync(std::function<void(ScanResult&, void*)> callback, void* user_data);
  bool GetSignalInfoAsync(std::function<void(SignalInfo&, void*)> callback, void* user_data);
  bool GetErrorRateAsync(std::function<void(ErrorRate&, void*)> callback, void* user_data);
  bool GetCellLocationAsync(std::function<void(CellLocationInfo&, void*)> callback, void* user_data);
  bool GetSystemInfoAsync(std::function<void(SystemInfo&, void*)> callback, void* user_data);

  // Waits for the answer. True when `info` is filled.
  bool GetCellLocation(CellLocationInfo& info);

  // Changes of registration, technology and signal.
  kor::util::EventCbMap event_cbs{rank::kRadioTables};
};

}  // namespace kor::vendor::qcom::qmi
