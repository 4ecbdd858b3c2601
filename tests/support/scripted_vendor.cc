// SPDX-License-Identifier: Apache-2.0
#include "support/scripted_vendor.h"

#include <sstream>
#include <stdexcept>
#include <tuple>

#include "common/vendor/dms_qmi_client.h"
#include "common/vendor/nas_qmi_client.h"
#include "common/vendor/qcmap_wrapper.h"
#include "common/vendor/uim_qmi_client.h"
#include "common/vendor/wds_qmi_client.h"
#include "common/vendor/wms_qmi_client.h"

namespace kor::test {

namespace {

kor::util::Mutex g_mutex;
Answers g_answers KOR_GUARDED_BY(g_mutex);
Calls g_calls KOR_GUARDED_BY(g_mutex);
std::vector<std::function<void()>> g_queries KOR_GUARDED_BY(g_mutex);

void Put(std::ostream& call, const std::string& text) { call << ' ' << text; }

template <typename Number>
void Put(std::ostream& call, Number number) {
  call << ' ' << static_cast<int64_t>(number);
}

template <typename... Args>
Answers Record(const std::string& operation, Args... args) {
  std::ostringstream call;
  call << operation;
  (Put(call, args), ...);
  kor::util::MutexLock lock(g_mutex);
  g_calls.push_back(call.str());
  Answers answers = g_answers;
  if (answers.refused.count(operation) + answers.refused.count(call.str()) != 0) answers.ok = false;
  return answers;
}

kor::Result Request(const char* operation, uint32_t index, IPFamily family) {
  const Answers answers = Record(operation, index, family);
  if (answers.on_request) answers.on_request();
  return answers.request;
}

// Keeps a copy of the callback until AnswerQueries().
template <typename Answer>
bool Query(const char* operation, std::function<void(Answer&, void*)> callback, void* user_data) {
  const bool ok = Record(operation).ok;
  kor::util::MutexLock lock(g_mutex);
  if (ok && callback) {
    g_queries.push_back([callback, user_data] {
      Answer answer;
      answer.result = kor::Result::kSuccess;
      callback(answer, user_data);
    });
  }
  return ok;
}

// A switch that is on.
bool Switch(const char* operation, uint32_t index, bool& enabled) {
  enabled = true;
  return Record(operation, index).ok;
}

template <typename Client>
Client* Instance() {
  static Client& client = *new Client;
  kor::util::MutexLock lock(g_mutex);
  if (!g_answers.reachable) throw std::runtime_error("no modem");
  return &client;
}

}  // namespace

void Vendor::Reset() {
  kor::util::MutexLock lock(g_mutex);
  g_answers = Answers();
  g_calls.clear();
  g_queries.clear();
}

void Vendor::Set(const std::function<void(Answers&)>& change) {
  kor::util::MutexLock lock(g_mutex);
  change(g_answers);
}

Calls Vendor::Take() {
  kor::util::MutexLock lock(g_mutex);
  return std::exchange(g_calls, {});
}

void Vendor::AnswerQueries() {
  std::vector<std::function<void()>> queries;
  {
    kor::util::MutexLock lock(g_mutex);
    queries.swap(g_queries);
  }
  for (const auto& query : queries) query();
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
using kor::test::Switch;

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
  ipv4 = ipv6 = ConnectStatus::kDisconnected;
  const auto state = answers.states.find(index);
  if (state != answers.states.end()) std::tie(ipv4, ipv6) = state->second;
  return true;
}

bool QcmapWrapper::SetAutoConnect(uint32_t index, bool enable) { return Record("SetAutoConnect", index, enable).ok; }
bool QcmapWrapper::SetRoaming(uint32_t index, bool enable) { return Record("SetRoaming", index, enable).ok; }

bool QcmapWrapper::GetAutoConnect(uint32_t index, bool& on) {
  const auto answers = Record("GetAutoConnect", index);
  on = answers.auto_connects;
  return answers.ok;
}
bool QcmapWrapper::GetRoaming(uint32_t index, bool& on) { return Switch("GetRoaming", index, on); }

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
  const NetworkConfig before = std::exchange(config, found->second);
  if (config.dns_1.empty()) config.dns_1 = before.dns_1;  // What the answer does not hold is not touched.
  return answers.request;
}

bool QcmapWrapper::GetIpv4State(uint32_t index, bool& on) { return Switch("GetIpv4State", index, on); }
bool QcmapWrapper::GetIpv6State(uint32_t index, bool& on) { return Switch("GetIpv6State", index, on); }

bool QcmapWrapper::EnableIpv4(uint32_t index) { return Record("EnableIpv4", index).ok; }
bool QcmapWrapper::DisableIpv4(uint32_t index) { return Record("DisableIpv4", index).ok; }
bool QcmapWrapper::EnableIpv6(uint32_t index) { return Record("EnableIpv6", index).ok; }
bool QcmapWrapper::DisableIpv6(uint32_t index) { return Record("DisableIpv6", index).ok; }

// Fills its arguments also when it fails.
bool QcmapWrapper::GetLanConfig(std::string& gw, std::string& nm, bool& enable_dhcp, std::string& start,
                                std::string& end, int& lease) {
  const auto answers = Record("GetLanConfig");
  const auto& lan = answers.lan;
  std::tie(gw, nm, enable_dhcp) = std::tie(lan.gw, lan.nm, lan.enable_dhcp);
  std::tie(start, end, lease) = std::tie(lan.dhcp_start_ip, lan.dhcp_end_ip, lan.dhcp_lease_time);
  return answers.ok;
}

bool QcmapWrapper::SetLanConfig(std::string gw, std::string nm, bool enable_dhcp, std::string start, std::string end,
                                unsigned int lease) {
  return Record("SetLanConfig", gw, nm, enable_dhcp, start, end, lease).ok;
}

bool QcmapWrapper::ActivateLan() { return Record("ActivateLan").ok; }

bool QcmapWrapper::SetVlanConfig(VlanConfig& config) {
  const auto answers = Record("SetVlanConfig", config.interface, config.vlan_id, config.pdn);
  config.pdn = answers.vlan_pdn.value_or(config.pdn);
  return answers.ok;
}

bool QcmapWrapper::DeleteVlanConfig(VlanConfig& config) { return Record("DeleteVlanConfig", config.vlan_id).ok; }

bool QcmapWrapper::GetVlanConfigs(std::vector<VlanConfig>& configs) {
  const auto answers = Record("GetVlanConfigs");
  configs = answers.vlans;
  return answers.ok;
}

bool QcmapWrapper::SetPdnToVlanMapping(VlanConfig& config) {
  return Record("SetPdnToVlanMapping", config.vlan_id, config.pdn).ok;
}

bool QcmapWrapper::DeletePdnToVlanMapping(VlanConfig& config) {
  return Record("DeletePdnToVlanMapping", config.vlan_id, config.pdn).ok;
}

bool QcmapWrapper::GetPdnToVlanMapping(std::vector<VlanMapping>& mappings) {
  const auto answers = Record("GetPdnToVlanMapping");
  mappings = answers.mappings;
  return answers.ok;
}

bool QcmapWrapper::SetIpPassthrough(bool enable, IpPassthroughConfig& config) {
  return Record("SetIpPassthrough", enable, config.mode, config.target).ok;
}

bool QcmapWrapper::GetIpPassthrough(bool& enabled, IpPassthroughConfig& config) {
  enabled = true;
  config.target = "laptop";
  return Record("GetIpPassthrough").ok;
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

NasQmiClient* NasQmiClient::GetInstance() { return kor::test::Instance<NasQmiClient>(); }

bool NasQmiClient::StartScanAsync(std::function<void(ScanResult&, void*)> callback, void* user_data) {
  return kor::test::Query("StartScanAsync", std::move(callback), user_data);
}

bool NasQmiClient::GetSignalInfoAsync(std::function<void(SignalInfo&, void*)> callback, void* user_data) {
  return kor::test::Query("GetSignalInfoAsync", std::move(callback), user_data);
}

bool NasQmiClient::GetErrorRateAsync(std::function<void(ErrorRate&, void*)> callback, void* user_data) {
  return kor::test::Query("GetErrorRateAsync", std::move(callback), user_data);
}

bool NasQmiClient::GetCellLocationAsync(std::function<void(CellLocationInfo&, void*)> callback, void* user_data) {
  return kor::test::Query("GetCellLocationAsync", std::move(callback), user_data);
}

bool NasQmiClient::GetSystemInfoAsync(std::function<void(SystemInfo&, void*)> callback, void* user_data) {
  return kor::test::Query("GetSystemInfoAsync", std::move(callback), user_data);
}

bool NasQmiClient::GetCellLocation(CellLocationInfo& info) {
  info.neighbours.resize(3);
  return kor::test::Record("GetCellLocation").ok;
}

DmsQmiClient* DmsQmiClient::GetInstance() { return kor::test::Instance<DmsQmiClient>(); }

kor::Result DmsQmiClient::SetPinLock(int pin_id, bool enable, std::string pin) {
  return kor::test::Record("SetPinLock", pin_id, enable, pin).request;
}

kor::Result DmsQmiClient::ChangePinLockPwd(int pin_id, std::string old_pin, std::string new_pin) {
  return kor::test::Record("ChangePinLockPwd", pin_id, old_pin, new_pin).request;
}

kor::Result DmsQmiClient::GetModelId(std::string& model_id) {
  model_id = "bench modem";
  return kor::test::Record("GetModelId").request;
}

kor::Result DmsQmiClient::GetPinStatus() { return kor::test::Record("GetPinStatus").request; }

UimQmiClient* UimQmiClient::GetInstance() { return kor::test::Instance<UimQmiClient>(); }
kor::Result UimQmiClient::TurnOnPower(int slot) { return kor::test::Record("TurnOnPower", slot).request; }
kor::Result UimQmiClient::TurnOffPower(int slot) { return kor::test::Record("TurnOffPower", slot).request; }

WmsQmiClient* WmsQmiClient::GetInstance() { return kor::test::Instance<WmsQmiClient>(); }

kor::Result WmsQmiClient::GetRouteList(std::list<kor::wwan::SmsManager::RouteInfo>& routes) {
  routes.resize(2);
  return kor::test::Record("GetRouteList").request;
}

kor::Result WmsQmiClient::SetRouteList(std::list<kor::wwan::SmsManager::RouteInfo>& routes) {
  return kor::test::Record("SetRouteList", routes.size()).request;
}

kor::Result WmsQmiClient::ModifyTagAsync() { return kor::test::Record("ModifyTagAsync").request; }

}  // namespace kor::vendor::qcom::qmi
