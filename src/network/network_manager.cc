// SPDX-License-Identifier: Apache-2.0
#include "wwan/network_manager.h"

#include <utility>

#include "common/vendor/nas_qmi_client.h"

namespace kor::wwan {

NetworkManager::NetworkManager() : nas_(kor::vendor::qcom::qmi::NasQmiClient::GetInstance()) {}

NetworkManager::~NetworkManager() { UnsetEventCb(); }

bool NetworkManager::StartScanAsync(std::function<void(ScanResult&, void*)> callback, void* user_data) {
  return nas_->StartScanAsync(std::move(callback), user_data);
}

bool NetworkManager::GetSignalInfoAsync(std::function<void(SignalInfo&, void*)> callback, void* user_data) {
  return nas_->GetSignalInfoAsync(std::move(callback), user_data);
}

bool NetworkManager::GetErrorRateAsync(std::function<void(ErrorRate&, void*)> callback, void* user_data) {
  return nas_->GetErrorRateAsync(std::move(callback), user_data);
}

bool NetworkManager::GetCellLocation(CellLocationInfo& info) { return nas_->GetCellLocation(info); }

bool NetworkManager::GetCellLocationAsync(std::function<void(CellLocationInfo&, void*)> callback, void* user_data) {
  return nas_->GetCellLocationAsync(std::move(callback), user_data);
}

bool NetworkManager::GetSystemInfoAsync(std::function<void(SystemInfo&, void*)> callback, void* user_data) {
  return nas_->GetSystemInfoAsync(std::move(callback), user_data);
}

void NetworkManager::SetEventCb(std::function<void(kor::util::EventDic&)> callback) {
  nas_->event_cbs.Add(this, std::move(callback));
}

void NetworkManager::UnsetEventCb() { nas_->event_cbs.Remove(this); }

}  // namespace kor::wwan
