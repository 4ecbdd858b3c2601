// SPDX-License-Identifier: Apache-2.0
#include "wwan/device_manager.h"

#include <utility>

#include "common/vendor/dms_qmi_client.h"

namespace kor::wwan {

DeviceManager::DeviceManager() : dms_(kor::vendor::qcom::qmi::DmsQmiClient::GetInstance()) {}

DeviceManager::~DeviceManager() {}

kor::Result DeviceManager::SetPinLock(int pin_id, bool enable, std::string pin) {
  return dms_->SetPinLock(pin_id, enable, std::move(pin));
}

kor::Result DeviceManager::ChangePinLockPwd(int pin_id, std::string old_pin, std::string new_pin) {
  return dms_->ChangePinLockPwd(pin_id, std::move(old_pin), std::move(new_pin));
}

kor::Result DeviceManager::GetModelId(std::string& model_id) { return dms_->GetModelId(model_id); }

kor::Result DeviceManager::GetPinStatus() { return dms_->GetPinStatus(); }

kor::Result DeviceManager::GetTmcfgPkgVer(std::string& /*version*/) { return kor::Result::kNotSupported; }

}  // namespace kor::wwan
