// SPDX-License-Identifier: Apache-2.0
#include "common/vendor/wds_qmi_client.h"

#include <stdexcept>

#include "clients/operation.h"

namespace kor::vendor::qcom::qmi {

using kor::wwan::DataManager;

WdsQmiClient* WdsQmiClient::GetInstance() {
  if (!Admitted("WdsQmiClient.GetInstance")) throw std::runtime_error("WdsQmiClient: the modem is not reachable");
  static WdsQmiClient* const instance = new WdsQmiClient;
  return instance;
}

kor::Result WdsQmiClient::GetProfileSetting(DataManager::ProfileType type, int index,
                                            DataManager::ProfileSetting& setting) {
  const kor::Result admitted = Ask("GetProfileSetting", type, index);
  if (admitted != kor::Result::kSuccess) return admitted;
  return kor::modem::ModemPort::Get().GetProfile(type, index, setting);
}

kor::Result WdsQmiClient::GetProfileList(std::list<DataManager::ProfileInfo>& profiles) {
  const kor::Result admitted = Ask("GetProfileList");
  return admitted == kor::Result::kSuccess ? kor::modem::ModemPort::Get().GetProfiles(profiles) : admitted;
}

}  // namespace kor::vendor::qcom::qmi
