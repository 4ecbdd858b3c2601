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

// A switch that is on.
bool Switch(const char* operation, uint32_t index, bool& on) {
  on = true;
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
}

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

// The clients themselves.

namespace kor::vendor::qcom::qcmap {

using kor::Result;
using kor::test::Instance;
using kor::test::Record;
using kor::test::Switch;
using kor::test::Vendor;
using kor::util::IPFamily;
using kor::wwan::Tech;

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

bool QcmapWrapper::SetWwanPolicy(uint32_t index, Tech tech, IPFamily family, int profile_1, int profile_2) {
  return Record("SetWwanPolicy", index, tech, family, profile_1, profile_2).ok;
}

bool QcmapWrapper::CreateWwanPolicy(Tech tech, IPFamily family, uint8_t profile_1, uint8_t profile_2) {
  const bool ok = Record("CreateWwanPolicy", tech, family, profile_1, profile_2).ok;
  if (ok) Vendor::Set([&](auto& a) { a.policies.push_back(kor::test::Policy(profile_1, profile_2, 900)); });
  return ok;
}

bool QcmapWrapper::GetWwanConnectStatus(uint32_t index, ConnectStatus& ipv4, ConnectStatus& ipv6) {
  const auto answers = Record("GetWwanConnectStatus", index);
  if (!answers.ok) return false;
  ipv4 = ipv6 = ConnectStatus::kDisconnected;
  const auto state = answers.states.find(index);
  if (state != answers.states.end()) std::tie(ipv4, ipv6) = state->second;
  return true;
}

Result QcmapWrapper::ConnectBackhaul(uint32_t index, IPFamily family) {
  return kor::test::Request("ConnectBackhaul", index, family);
}

Result QcmapWrapper::DisconnectBackhaul(uint32_t index, IPFamily family) {
  return kor::test::Request("DisconnectBackhaul", index, family);
}

Result QcmapWrapper::GetNetworkConfig(uint32_t index, IPFamily family, NetworkConfig& config) {
  const auto answers = Record("GetNetworkConfig", index, family);
  if (answers.not_ready > 0) Vendor::Set([](auto& a) { --a.not_ready; });
  if (answers.not_ready > 0 || !answers.ok) return Result::kNotReady;
  const auto found = answers.configs.find({index, family});
  if (found == answers.configs.end()) return Result::kFailure;
  const NetworkConfig before = std::exchange(config, found->second);
  if (config.dns_1.empty()) config.dns_1 = before.dns_1;  // What the answer does not hold is not touched.
  return answers.request;
}

// Switches are on, and fill their argument also when they fail, as the LAN does.
bool QcmapWrapper::GetAutoConnect(uint32_t index, bool& on) {
  const auto answers = Record("GetAutoConnect", index);
  on = answers.auto_connects;
  return answers.ok;
}

bool QcmapWrapper::GetRoaming(uint32_t index, bool& on) { return Switch("GetRoaming", index, on); }
bool QcmapWrapper::GetIpv4State(uint32_t index, bool& on) { return Switch("GetIpv4State", index, on); }
bool QcmapWrapper::GetIpv6State(uint32_t index, bool& on) { return Switch("GetIpv6State", index, on); }
bool QcmapWrapper::DeleteWwanPolicy(uint8_t index) { return Record("DeleteWwanPolicy", index).ok; }
bool QcmapWrapper::SetAutoConnect(uint32_t index, bool on) { return Record("SetAutoConnect", index, on).ok; }
bool QcmapWrapper::SetRoaming(uint32_t index, bool on) { return Record("SetRoaming", index, on).ok; }
bool QcmapWrapper::EnableIpv4(uint32_t index) { return Record("EnableIpv4", index).ok; }
bool QcmapWrapper::DisableIpv4(uint32_t index) { return Record("DisableIpv4", index).ok; }
bool QcmapWrapper::EnableIpv6(uint32_t index) { return Record("EnableIpv6", index).ok; }
bool QcmapWrapper::DisableIpv6(uint32_t index) { return Record("DisableIpv6", index).ok; }
bool QcmapWrapper::ActivateLan() { return Record("ActivateLan").ok; }

bool QcmapWrapper::GetLanConfig(std::string& gw, std::string& nm, bool& dhcp, std::string& start, std::string& end,
                                int& lease) {
  const auto answers = Record("GetLanConfig");
  const auto& lan = answers.lan;
  std::tie(gw, nm, dhcp) = std::tie(lan.gw, lan.nm, lan.enable_dhcp);
  std::tie(start, end, lease) = std::tie(lan.dhcp_start_ip, lan.dhcp_end_ip, lan.dhcp_lease_time);
  return answers.ok;
}

bool QcmapWrapper::SetLanConfig(std::string gw, std::string nm, bool dhcp, std::string start, std::string end,
                                unsigned int lease) {
  return Record("SetLanConfig", gw, nm, dhcp, start, end, lease).ok;
}

bool QcmapWrapper::SetVlanConfig(VlanConfig& vlan) {
  const auto answers = Record("SetVlanConfig", vlan.interface, vlan.vlan_id, vlan.pdn);
  vlan.pdn = answers.vlan_pdn.value_or(vlan.pdn);
  return answers.ok;
}

bool QcmapWrapper::DeleteVlanConfig(VlanConfig& vlan) { return Record("DeleteVlanConfig", vlan.vlan_id).ok; }

bool QcmapWrapper::GetVlanConfigs(std::vector<VlanConfig>& vlans) {
  const auto answers = Record("GetVlanConfigs");
  vlans = answers.vlans;
  return answers.ok;
}

bool QcmapWrapper::SetPdnToVlanMapping(VlanConfig& vlan) {
  return Record("SetPdnToVlanMapping", vlan.vlan_id, vlan.pdn).ok;
}

bool QcmapWrapper::DeletePdnToVlanMapping(VlanConfig& vlan) {
  return Record("DeletePdnToVlanMapping", vlan.vlan_id, vlan.pdn).ok;
}

bool QcmapWrapper::GetPdnToVlanMapping(std::vector<VlanMapping>& mappings) {
  const auto answers = Record("GetPdnToVlanMapping");
  mappings = answers.mappings;
  return answers.ok;
}

bool QcmapWrapper::SetIpPassthrough(bool on, IpPassthroughConfig& config) {
  return Record("SetIpPassthrough", on, config.mode, config.target).ok;
}

bool QcmapWrapper::GetIpPassthrough(bool& on, IpPassthroughConfig& config) {
  on = true;
  config.target = "laptop";
  return Record("GetIpPassthrough").ok;
}

}  // namespace kor::vendor::qcom::qcmap

namespace kor::vendor::qcom::qmi {

using kor::Result;
using kor::test::Instance;
using kor::test::Record;
using kor::wwan::DataManager;

using Routes = std::list<kor::wwan::SmsManager::RouteInfo>;
template <typename Answer>
using Cb = std::function<void(Answer&, void*)>;

WdsQmiClient* WdsQmiClient::GetInstance() { return Instance<WdsQmiClient>(); }
NasQmiClient* NasQmiClient::GetInstance() { return Instance<NasQmiClient>(); }
DmsQmiClient* DmsQmiClient::GetInstance() { return Instance<DmsQmiClient>(); }
UimQmiClient* UimQmiClient::GetInstance() { return Instance<UimQmiClient>(); }
WmsQmiClient* WmsQmiClient::GetInstance() { return Instance<WmsQmiClient>(); }

Result WdsQmiClient::GetProfileSetting(DataManager::ProfileType type, int index, DataManager::ProfileSetting& setting) {
  setting.index = index;
  return Record("GetProfileSetting", type, index).request;
}

Result WdsQmiClient::GetProfileList(std::list<DataManager::ProfileInfo>& profiles) {
  profiles.resize(2);
  return Record("GetProfileList").request;
}

// Queries are taken and never answered.
bool NasQmiClient::StartScanAsync(Cb<ScanResult>, void*) { return Record("StartScanAsync").ok; }
bool NasQmiClient::GetSignalInfoAsync(Cb<SignalInfo>, void*) { return Record("GetSignalInfoAsync").ok; }
bool NasQmiClient::GetErrorRateAsync(Cb<ErrorRate>, void*) { return Record("GetErrorRateAsync").ok; }
bool NasQmiClient::GetSystemInfoAsync(Cb<SystemInfo>, void*) { return Record("GetSystemInfoAsync").ok; }
bool NasQmiClient::GetCellLocationAsync(Cb<CellLocationInfo>, void*) { return Record("GetCellLocationAsync").ok; }
bool NasQmiClient::GetCellLocation(CellLocationInfo&) { return Record("GetCellLocation").ok; }

Result DmsQmiClient::SetPinLock(int id, bool on, std::string pin) { return Record("SetPinLock", id, on, pin).request; }
Result DmsQmiClient::ChangePinLockPwd(int id, std::string old_pin, std::string new_pin) {
  return Record("ChangePinLockPwd", id, old_pin, new_pin).request;
}
Result DmsQmiClient::GetModelId(std::string& id) {
  id = "bench modem";
  return Record("GetModelId").request;
}
Result DmsQmiClient::GetPinStatus() { return Record("GetPinStatus").request; }
Result UimQmiClient::TurnOnPower(int slot) { return Record("TurnOnPower", slot).request; }
Result UimQmiClient::TurnOffPower(int slot) { return Record("TurnOffPower", slot).request; }

Result WmsQmiClient::GetRouteList(Routes&) { return Record("GetRouteList").request; }
Result WmsQmiClient::SetRouteList(Routes& routes) { return Record("SetRouteList", routes.size()).request; }
Result WmsQmiClient::ModifyTagAsync() { return Record("ModifyTagAsync").request; }

}  // namespace kor::vendor::qcom::qmi
