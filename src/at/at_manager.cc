// SPDX-License-Identifier: Apache-2.0
#include "wwan/at_manager.h"

#include <utility>

#include "at/at_service.h"
#include "common/vendor/ats_qmi_client.h"
#include "common/vendor/m2m_qmi_client.h"

namespace kor::wwan {

using kor::vendor::qcom::qmi::AtsQmiClient;
using kor::vendor::qcom::qmi::M2mQmiClient;

AtManager::AtManager() : ats_client_(AtsQmiClient::GetInstance()) {
  try {
    m2m_client_ = M2mQmiClient::GetInstance();
    at_service_ = AtService::GetInstance();
  } catch (...) {
    ats_client_->ReleaseInstance();
    throw;
  }
}

AtManager::~AtManager() {
  (void)AtService::ReleaseInstance();
  ats_client_->ReleaseInstance();
}

int AtManager::StartService() { return at_service_->Start(); }

int AtManager::StopService() { return at_service_->Stop(); }

int AtManager::RegisterCallback(std::string name, std::function<CmdResponse(Command&)> cmd_cb,
                                std::function<void(std::string, bool)> reg_cb) {
  return at_service_->RegisterCallback(std::move(name), std::move(cmd_cb), std::move(reg_cb));
}

int AtManager::ReleaseCommands() { return at_service_->ReleaseCommands(); }

int AtManager::SendNotification(std::string text) { return ats_client_->SendNotification(std::move(text)); }

int AtManager::NotifyRegistrationDone() { return m2m_client_->SetSoftwareReady(); }

}  // namespace kor::wwan
