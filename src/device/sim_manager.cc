// SPDX-License-Identifier: Apache-2.0
#include "wwan/sim_manager.h"

#include "common/vendor/uim_qmi_client.h"

namespace kor::wwan {

SimManager::SimManager() : uim_(kor::vendor::qcom::qmi::UimQmiClient::GetInstance()) {}

SimManager::~SimManager() {}

kor::Result SimManager::TurnOnPower(int slot) { return uim_->TurnOnPower(slot); }

kor::Result SimManager::TurnOffPower(int slot) { return uim_->TurnOffPower(slot); }

}  // namespace kor::wwan
