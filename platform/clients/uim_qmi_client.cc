// SPDX-License-Identifier: Apache-2.0
#include "common/vendor/uim_qmi_client.h"

#include "clients/over_port.h"

namespace kor::vendor::qcom::qmi {

UimQmiClient* UimQmiClient::GetInstance() { return OnlyClient<UimQmiClient>(); }

kor::Result UimQmiClient::TurnOnPower(int slot) { return PortOf(this).SetSimPower(slot, true); }

kor::Result UimQmiClient::TurnOffPower(int slot) { return PortOf(this).SetSimPower(slot, false); }

}  // namespace kor::vendor::qcom::qmi
