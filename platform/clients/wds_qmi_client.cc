// SPDX-License-Identifier: Apache-2.0
#include "common/vendor/wds_qmi_client.h"

#include "clients/over_port.h"

namespace kor::vendor::qcom::qmi {

using kor::wwan::DataManager;

WdsQmiClient* WdsQmiClient::GetInstance() { return OnlyClient<WdsQmiClient>(); }

kor::Result WdsQmiClient::GetProfileSetting(DataManager::ProfileType type, int index,
                                            DataManager::ProfileSetting& setting) {
  return PortOf(this).GetProfile(type, index, setting);
}

kor::Result WdsQmiClient::GetProfileList(std::list<DataManager::ProfileInfo>& profiles) {
  return PortOf(this).GetProfiles(profiles);
}

}  // namespace kor::vendor::qcom::qmi
