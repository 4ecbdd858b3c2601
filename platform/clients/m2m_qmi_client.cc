// SPDX-License-Identifier: Apache-2.0
#include "common/vendor/m2m_qmi_client.h"

#include <stdexcept>

#include "clients/operation.h"

namespace kor::vendor::qcom::qmi {

M2mQmiClient* M2mQmiClient::GetInstance() {
  if (!Admitted("M2mQmiClient.GetInstance")) throw std::runtime_error("M2mQmiClient: the modem is not reachable");
  static M2mQmiClient* const instance = new M2mQmiClient;
  return instance;
}

int M2mQmiClient::SetSoftwareReady() {
  const kor::Result admitted = Ask("SetSoftwareReady");
  if (admitted != kor::Result::kSuccess) return static_cast<int>(admitted);
  return static_cast<int>(kor::modem::ModemPort::Get().SetSoftwareReady());
}

}  // namespace kor::vendor::qcom::qmi
