// SPDX-License-Identifier: Apache-2.0
#include "common/vendor/m2m_qmi_client.h"

#include "clients/over_port.h"
#include "clients/told.h"

namespace kor::vendor::qcom::qmi {

M2mQmiClient* M2mQmiClient::GetInstance() { return OnlyClient<M2mQmiClient>(); }

int M2mQmiClient::SetSoftwareReady() { return static_cast<int>(Told::Over(PortOf(this)).Ready()); }

}  // namespace kor::vendor::qcom::qmi
