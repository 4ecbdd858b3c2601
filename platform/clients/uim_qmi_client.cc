// SPDX-License-Identifier: Apache-2.0
#include "common/vendor/uim_qmi_client.h"

#include <stdexcept>

#include "clients/operation.h"

namespace kor::vendor::qcom::qmi {

using kor::modem::ModemPort;

UimQmiClient* UimQmiClient::GetInstance() {
  if (!Admitted("UimQmiClient.GetInstance")) throw std::runtime_error("UimQmiClient: the modem is not reachable");
  static UimQmiClient* const instance = new UimQmiClient;
  return instance;
}

kor::Result UimQmiClient::TurnOnPower(int slot) {
  const kor::Result admitted = Ask("TurnOnPower", slot);
  return admitted == kor::Result::kSuccess ? ModemPort::Get().SetSimPower(slot, true) : admitted;
}

kor::Result UimQmiClient::TurnOffPower(int slot) {
  const kor::Result admitted = Ask("TurnOffPower", slot);
  return admitted == kor::Result::kSuccess ? ModemPort::Get().SetSimPower(slot, false) : admitted;
}

}  // namespace kor::vendor::qcom::qmi
