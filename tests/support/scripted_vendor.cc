// SPDX-License-Identifier: Apache-2.0
#include "support/scripted_vendor.h"

#include <sstream>
#include <stdexcept>

#include "common/vendor/qcmap_wrapper.h"
#include "common/vendor/wds_qmi_client.h"

namespace kor::test {

namespace {

kor::util::Mutex g_mutex;
Answers g_answers KOR_GUARDED_BY(g_mutex);
Calls g_calls KOR_GUARDED_BY(g_mutex);

template <typename... Args>
Answers Record(const std::string& operation, Args... args) {
  std::ostringstream call;
  call << operation;
  ((call << ' ' << static_cast<int64_t>(args)), ...);
  kor::util::MutexLock lock(g_mutex);
  g_calls.push_back(call.str());
  return g_answers;
}

kor::Result Request(const char* operation, uint32_t index, IPFamily family) {
  const Answers answers = Record(operation, index, family);
  if (answers.on_request) answers.on_request();
  return answers.request;
}

template <typename Client>
Client* Instance() {
  static Client& client = *new Client;
  kor::util::MutexLock lock(g_mutex);
  if (!g_answers.reachable) throw std::runtime_error("no modem");
  return &client;
}

}  // namespace

void Vendor::Set(const std::function<void(Answers&)>& change) {
  kor::util::MutexLock lock(g_mutex);
  change(g_answers);
}

Calls Vendor::Take() {
  kor::util::MutexLock lock(g_mutex);
  return std::exchange(g_calls, {});
}

void Vendor::Publish(uint32_t event, const std::string& handle, const std::string& family) {
  kor::util::EventDic ev;
  ev.event = event;
  ev.params = {{kor::util::EventDic::kParamHandle, handle}, {kor::util::EventDic::kParamIpFamily, family}};
  kor::vendor::qcom::qcmap::QcmapWrapper::GetInstance()->event_cbs.Notify(ev);
}

DataManager::WwanPolicy Policy(int profile_1, int profile_2, int32_t handle) {
  DataManager::WwanPolicy policy;
  policy.profile_1 = profile_1;
  policy.profile_2 = profile_2;
  policy.handle = handle;
  return policy;
}

}  // namespace kor::test

namespace kor::vendor::qcom::qcmap {

using kor::test::Instance;
using kor::test::Record;

QcmapWrapper* QcmapWrapper::GetInstance() { return Instance<QcmapWrapper>(); }

bool QcmapWrapper::GetWwanPolicies(std::vector<WwanPolicy>& policies) {
  const auto answers = Record("GetWwanPolicies");
  policies = answers.policies;
  return answers.lists_ok;
}

bool QcmapWrapper::GetWwanPolicy(uint32_t index, WwanPolicy& policy) {
  const auto answers = Record("GetWwanPolicy", index);
  if (index >= answers.policies.size()) return false;
  policy = answers.policies[index];
  return true;
}

bool QcmapWrapper::SetWwanPolicy(uint32_t index, kor::wwan::Tech tech, kor::util::IPFamily ip_family, int profile_1,
                                 int profile_2) {
  return Record("SetWwanPolicy", index, tech, ip_family, profile_1, profile_2).ok;
}

bool QcmapWrapper::CreateWwanPolicy(kor::wwan::Tech tech, kor::util::IPFamily ip_family, uint8_t profile_1,
                                    uint8_t profile_2) {
  const bool ok = Record("CreateWwanPolicy", tech, ip_family, profile_1, profile_2).ok;
  if (ok) kor::test::Vendor::Set([&](auto& a) { a.policies.push_back(kor::test::Policy(profile_1, profile_2, 900)); });
  return ok;
}

bool QcmapWrapper::DeleteWwanPolicy(uint8_t index) { return Record("DeleteWwanPolicy", index).ok; }

bool QcmapWrapper::GetWwanConnectStatus(uint32_t index, ConnectStatus& ipv4, ConnectStatus& ipv6) {
  const auto answers = Record("GetWwanConnectStatus", index);
  if (!answers.ok) return false;
  const auto state = answers.states.find(index);
  ipv4 = state == answers.states.end() ? ConnectStatus::kDisconnected : state->second.first;
  ipv6 = state == answers.states.end() ? ConnectStatus::kDisconnected : state->second.second;
  return true;
}

bool QcmapWrapper::SetAutoConnect(uint32_t index, bool enable) { return Record("SetAutoConnect", index, enable).ok; }
bool QcmapWrapper::SetRoaming(uint32_t index, bool enable) { return Record("SetRoaming", index, enable).ok; }

bool QcmapWrapper::GetAutoConnect(uint32_t index, bool& enabled) {
  enabled = true;
  return Record("GetAutoConnect", index).ok;
}

bool QcmapWrapper::GetRoaming(uint32_t index, bool& enabled) {
  enabled = true;
  return Record("GetRoaming", index).ok;
}

kor::Result QcmapWrapper::ConnectBackhaul(uint32_t index, kor::util::IPFamily ip_family) {
  return kor::test::Request("ConnectBackhaul", index, ip_family);
}

kor::Result QcmapWrapper::DisconnectBackhaul(uint32_t index, kor::util::IPFamily ip_family) {
  return kor::test::Request("DisconnectBackhaul", index, ip_family);
}

kor::Result QcmapWrapper::GetNetworkConfig(uint32_t index, kor::util::IPFamily ip_family, NetworkConfig& config) {
  const auto answers = Record("GetNetworkConfig", index, ip_family);
  if (answers.not_ready > 0) {
    kor::test::Vendor::Set([](auto& a) { --a.not_ready; });
    return kor::Result::kNotReady;
  }
  const auto found = answers.configs.find({index, ip_family});
  if (found == answers.configs.end()) return kor::Result::kFailure;
  config = found->second;
  return kor::Result::kSuccess;
}

}  // namespace kor::vendor::qcom::qcmap

namespace kor::vendor::qcom::qmi {

WdsQmiClient* WdsQmiClient::GetInstance() { return kor::test::Instance<WdsQmiClient>(); }

kor::Result WdsQmiClient::GetProfileSetting(kor::wwan::DataManager::ProfileType type, int index,
                                            kor::wwan::DataManager::ProfileSetting& setting) {
  setting.index = index;
  return kor::test::Record("GetProfileSetting", type, index).request;
}

kor::Result WdsQmiClient::GetProfileList(std::list<kor::wwan::DataManager::ProfileInfo>& profiles) {
  profiles.resize(2);
  return kor::test::Record("GetProfileList").request;
}

}  // namespace kor::vendor::qcom::qmi
