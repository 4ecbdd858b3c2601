// SPDX-License-Identifier: Apache-2.0
#include "common/vendor/dms_qmi_client.h"

#include <stdexcept>

#include "clients/operation.h"

namespace kor::vendor::qcom::qmi {

namespace {

using kor::modem::ModemPort;

// A PIN, wherever it could be read. Made anew: what is static is gone while other threads still ask in exit().
std::string Hidden() { return "****"; }

}  // namespace

DmsQmiClient* DmsQmiClient::GetInstance() {
  if (!Admitted("DmsQmiClient.GetInstance")) throw std::runtime_error("DmsQmiClient: the modem is not reachable");
  static DmsQmiClient* const instance = new DmsQmiClient;
  return instance;
}

kor::Result DmsQmiClient::SetPinLock(int pin_id, bool enable, std::string pin) {
  const kor::Result admitted = Ask("SetPinLock", pin_id, enable, Hidden());
  return admitted == kor::Result::kSuccess ? ModemPort::Get().SetPinLock(pin_id, enable, pin) : admitted;
}

kor::Result DmsQmiClient::ChangePinLockPwd(int pin_id, std::string old_pin, std::string new_pin) {
  const kor::Result admitted = Ask("ChangePinLockPwd", pin_id, Hidden(), Hidden());
  return admitted == kor::Result::kSuccess ? ModemPort::Get().ChangePin(pin_id, old_pin, new_pin) : admitted;
}

kor::Result DmsQmiClient::GetModelId(std::string& model_id) {
  const kor::Result admitted = Ask("GetModelId");
  return admitted == kor::Result::kSuccess ? ModemPort::Get().GetModelId(model_id) : admitted;
}

kor::Result DmsQmiClient::GetPinStatus() {
  const kor::Result admitted = Ask("GetPinStatus");
  return admitted == kor::Result::kSuccess ? ModemPort::Get().GetPinStatus() : admitted;
}

}  // namespace kor::vendor::qcom::qmi
