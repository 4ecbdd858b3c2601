// SPDX-License-Identifier: Apache-2.0
// The object, its subscriptions, and the operations that are one request to a vendor client.
#include "wwan/data_manager.h"

#include <utility>

#include "common/log.h"
#include "common/vendor/qcmap_wrapper.h"
#include "common/vendor/wds_qmi_client.h"
#include "lock_ranks.h"

namespace kor::wwan {

using kor::vendor::qcom::qcmap::QcmapWrapper;
using kor::vendor::qcom::qmi::WdsQmiClient;

std::atomic<uint32_t> DataManager::s_ins_cnt_{0};

DataManager::DataManager()
    : qcmap_(QcmapWrapper::GetInstance()), wds_(WdsQmiClient::GetInstance()), mutex_(rank::kEventQueue) {
  ins_no_ = s_ins_cnt_++;  // Last, so that an object whose clients cannot be had is not counted.
}

DataManager::~DataManager() {
  --s_ins_cnt_;
  UnsetEventCb();
}

void DataManager::SetEventCb(std::function<void(kor::util::EventDic&)> cb) {
  qcmap_->event_cbs.Add(this, cb);
  wds_->event_cbs.Add(this, cb);
  if (aux_client_1_ != nullptr) aux_client_1_->event_cbs.Add(this, cb);
  if (aux_client_2_ != nullptr) aux_client_2_->event_cbs.Add(this, cb);
}

void DataManager::UnsetEventCb() {
  qcmap_->event_cbs.Remove(this);
  wds_->event_cbs.Remove(this);
  if (aux_client_1_ != nullptr) aux_client_1_->event_cbs.Remove(this);
  if (aux_client_2_ != nullptr) aux_client_2_->event_cbs.Remove(this);
}

bool DataManager::GetWwanPolicies(std::vector<WwanPolicy>& policies) { return qcmap_->GetWwanPolicies(policies); }

bool DataManager::SetPolicy(uint32_t index, kor::wwan::Tech tech, kor::util::IPFamily ip_family, int profile_1,
                            int profile_2) {
  KOR_LOG(LOG_DEBUG, "index %u profile_1 %d profile_2 %d\n", index, profile_1, profile_2);
  return qcmap_->SetWwanPolicy(index, tech, ip_family, profile_1, profile_2);
}

bool DataManager::GetConnectStatus(uint32_t index, ConnectStatus& ipv4, ConnectStatus& ipv6) {
  // First, so that a caller who passes over the result sees no state instead of an old one.
  ipv4 = ConnectStatus::kNone;
  ipv6 = ConnectStatus::kNone;
  return qcmap_->GetWwanConnectStatus(index, ipv4, ipv6);
}

bool DataManager::GetWwanStatus(uint32_t index, WwanStatus& status) {
  if (!qcmap_->GetWwanPolicy(index, status.policy)) return false;
  return GetConnectStatus(index, status.ipv4_status, status.ipv6_status);
}

bool DataManager::GetWwanStatuses(std::vector<WwanStatus>& statuses) {
  statuses.clear();
  std::vector<WwanPolicy> policies;
  if (!qcmap_->GetWwanPolicies(policies)) return false;
  for (uint32_t i = 0; i < policies.size(); ++i) {
    WwanStatus status;
    if (!GetConnectStatus(i, status.ipv4_status, status.ipv6_status)) return false;
    status.policy = policies[i];
    statuses.push_back(status);
  }
  return true;
}

bool DataManager::SetAutoConnect(uint32_t index, bool enable) { return qcmap_->SetAutoConnect(index, enable); }

bool DataManager::GetAutoConnect(uint32_t index, bool& enabled) { return qcmap_->GetAutoConnect(index, enabled); }

bool DataManager::SetRoaming(uint32_t index, bool enable) { return qcmap_->SetRoaming(index, enable); }

bool DataManager::GetRoaming(uint32_t index, bool& enabled) { return qcmap_->GetRoaming(index, enabled); }

bool DataManager::CreatePdn(Tech tech, kor::util::IPFamily ip_family, uint8_t profile_1, uint8_t profile_2) {
  return qcmap_->CreateWwanPolicy(tech, ip_family, profile_1, profile_2);
}

bool DataManager::DeletePdn(uint8_t index) { return qcmap_->DeleteWwanPolicy(index); }

kor::Result DataManager::GetNetworkConfig(uint32_t index, kor::util::IPFamily ip_family, NetworkConfig& config) {
  return qcmap_->GetNetworkConfig(index, ip_family, config);
}

kor::Result DataManager::GetProfileSetting(ProfileType type, int index, ProfileSetting& setting) {
  return wds_->GetProfileSetting(type, index, setting);
}

kor::Result DataManager::GetProfileList(std::list<ProfileInfo>& profiles) { return wds_->GetProfileList(profiles); }

}  // namespace kor::wwan
