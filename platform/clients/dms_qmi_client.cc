// SPDX-License-Identifier: Apache-2.0
#include "common/vendor/dms_qmi_client.h"

#include "clients/over_port.h"

namespace kor::vendor::qcom::qmi {

DmsQmiClient* DmsQmiClient::GetInstance() { return OnlyClient<DmsQmiClient>(); }

kor::Result DmsQmiClient::SetPinLock(int pin_id, bool enable, std::string pin) {
  return PortOf(this).SetPinLock(pin_id, enable, pin);
}

kor::Result DmsQmiClient::ChangePinLockPwd(int pin_id, std::string old_pin, std::string new_pin) {
  return PortOf(this).ChangePin(pin_id, old_pin, new_pin);
}

kor::Result DmsQmiClient::GetModelId(std::string& model_id) { return PortOf(this).GetModelId(model_id); }

kor::Result DmsQmiClient::GetPinStatus() {
  kor::modem::PinStatus status;
  const kor::Result result = PortOf(this).GetPinStatus(1, 1, status);
  return result == kor::Result::kSuccess ? status.state : result;
}

}  // namespace kor::vendor::qcom::qmi
