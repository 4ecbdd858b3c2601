// SPDX-License-Identifier: Apache-2.0
#include "common/vendor/qcmap_wrapper.h"

#include <algorithm>
#include <stdexcept>

#include "clients/operation.h"
#include "common/addresses.h"
#include "common/log.h"
#include "router/router.h"

namespace kor::vendor::qcom::qcmap {

namespace {

using kor::modem::CallEvent;
using kor::util::EventDic;
using kor::util::IPFamily;

constexpr int kNoProfile = -1;

PolicyTable& Table() { return Router::Get().policies; }

uint32_t EventCode(CallEvent event) {
  switch (event) {
    case CallEvent::kConnected:
      return kor::util::kEvtWwanConnected;
    case CallEvent::kConnectFailed:
      return kor::util::kEvtWwanConnectFailed;
    case CallEvent::kDisconnected:
      return kor::util::kEvtWwanDisconnected;
    case CallEvent::kDisconnectFailed:
      return kor::util::kEvtWwanDisconnectFailed;
  }
  return 0;
}

// On the modem's thread. Subscribers see the state that belongs to the event, or to a newer request.
void PublishCall(kor::util::EventCbMap& event_cbs, int32_t handle, IPFamily family, CallEvent event, uint64_t serial) {
  Table().Apply(handle, family, event, serial);
  EventDic ev;
  ev.event = EventCode(event);
  ev.params[EventDic::kParamHandle] = std::to_string(handle);
  ev.params[EventDic::kParamIpFamily] = ArgumentText(family);
  event_cbs.Notify(ev);
}

QcmapWrapper* CreateWrapper() {
  auto* const wrapper = new QcmapWrapper;
  kor::modem::ModemPort::Get().SetCallReport(
      [wrapper](int32_t handle, IPFamily family, CallEvent event, uint64_t serial) {
        PublishCall(wrapper->event_cbs, handle, family, event, serial);
      });
  return wrapper;
}

// A profile that is given alone, with kNoProfile for the other, serves the families that the policy has and no other:
// who looks for a family's profile finds it, and one policy may carry it for IPv4, another for IPv6.
void GiveOneProfile(QcmapWrapper::WwanPolicy& policy) {
  if (policy.profile_1 != kNoProfile && policy.profile_2 != kNoProfile) return;
  const int given = std::max(policy.profile_1, policy.profile_2);
  policy.profile_1 = policy.ip_family == IPFamily::kIpv6 ? kNoProfile : given;
  policy.profile_2 = policy.ip_family == IPFamily::kIpv4 ? kNoProfile : given;
}

// `text` when it is an address of the family, otherwise empty: these texts become lines of files.
std::string Checked(IPFamily family, const std::string& text) {
  const bool parses = kor::util::IsAddress(family == IPFamily::kIpv4 ? AF_INET : AF_INET6, text);
  if (!parses && !text.empty()) KOR_LOG(LOG_WARNING, "the network gave an invalid address\n");
  return parses ? text : "";
}

}  // namespace

Router& Router::Get() {
  static Router* const router = new Router(kor::modem::ModemPort::Get());
  return *router;
}

QcmapWrapper* QcmapWrapper::GetInstance() {
  if (!Admitted("QcmapWrapper.GetInstance")) throw std::runtime_error("QcmapWrapper: the modem is not reachable");
  static QcmapWrapper* const instance = CreateWrapper();
  return instance;
}

bool QcmapWrapper::GetWwanPolicies(std::vector<WwanPolicy>& policies) {
  if (!Admitted("GetWwanPolicies")) return false;
  policies = Table().List();
  return true;
}

bool QcmapWrapper::GetWwanPolicy(uint32_t index, WwanPolicy& policy) {
  return Admitted("GetWwanPolicy", index) && Table().Get(index, policy);
}

bool QcmapWrapper::SetWwanPolicy(uint32_t index, kor::wwan::Tech tech, IPFamily ip_family, int profile_1,
                                 int profile_2) {
  WwanPolicy policy{profile_1, profile_2, tech, ip_family, 0};
  GiveOneProfile(policy);
  return Admitted("SetWwanPolicy", index, tech, ip_family, profile_1, profile_2) && Table().Set(index, policy);
}

bool QcmapWrapper::CreateWwanPolicy(kor::wwan::Tech tech, IPFamily ip_family, uint8_t profile_1, uint8_t profile_2) {
  return Admitted("CreateWwanPolicy", tech, ip_family, profile_1, profile_2) &&
         Table().Create({profile_1, profile_2, tech, ip_family, 0});
}

bool QcmapWrapper::DeleteWwanPolicy(uint8_t index) {
  return Admitted("DeleteWwanPolicy", index) && Router::Get().lan.DeletePdn(index);
}

bool QcmapWrapper::GetWwanConnectStatus(uint32_t index, ConnectStatus& ipv4, ConnectStatus& ipv6) {
  return Admitted("GetWwanConnectStatus", index) && Table().GetStatus(index, ipv4, ipv6);
}

bool QcmapWrapper::SetAutoConnect(uint32_t index, bool enable) {
  return Admitted("SetAutoConnect", index, enable) && Table().SetAutoConnect(index, enable);
}

bool QcmapWrapper::GetAutoConnect(uint32_t index, bool& enabled) {
  return Admitted("GetAutoConnect", index) && Table().GetAutoConnect(index, enabled);
}

bool QcmapWrapper::SetRoaming(uint32_t index, bool enable) {
  return Admitted("SetRoaming", index, enable) && Table().SetRoaming(index, enable);
}

bool QcmapWrapper::GetRoaming(uint32_t index, bool& enabled) {
  return Admitted("GetRoaming", index) && Table().GetRoaming(index, enabled);
}

bool QcmapWrapper::GetIpv4State(uint32_t index, bool& enabled) {
  return Admitted("GetIpv4State", index) && Table().GetEnabled(index, IPFamily::kIpv4, enabled);
}

bool QcmapWrapper::GetIpv6State(uint32_t index, bool& enabled) {
  return Admitted("GetIpv6State", index) && Table().GetEnabled(index, IPFamily::kIpv6, enabled);
}

bool QcmapWrapper::EnableIpv4(uint32_t index) {
  return Admitted("EnableIpv4", index) && Table().SetEnabled(index, IPFamily::kIpv4, true);
}

bool QcmapWrapper::DisableIpv4(uint32_t index) {
  return Admitted("DisableIpv4", index) && Table().SetEnabled(index, IPFamily::kIpv4, false);
}

bool QcmapWrapper::EnableIpv6(uint32_t index) {
  return Admitted("EnableIpv6", index) && Table().SetEnabled(index, IPFamily::kIpv6, true);
}

bool QcmapWrapper::DisableIpv6(uint32_t index) {
  return Admitted("DisableIpv6", index) && Table().SetEnabled(index, IPFamily::kIpv6, false);
}

kor::Result QcmapWrapper::ConnectBackhaul(uint32_t index, IPFamily ip_family) {
  const kor::Result admitted = Ask("ConnectBackhaul", index, ip_family);
  return admitted == kor::Result::kSuccess ? Table().Connect(index, ip_family) : admitted;
}

kor::Result QcmapWrapper::DisconnectBackhaul(uint32_t index, IPFamily ip_family) {
  const kor::Result admitted = Ask("DisconnectBackhaul", index, ip_family);
  return admitted == kor::Result::kSuccess ? Table().Disconnect(index, ip_family) : admitted;
}

kor::Result QcmapWrapper::GetNetworkConfig(uint32_t index, IPFamily ip_family, NetworkConfig& config) {
  // Until there is an answer the record names no family, so that nobody takes what was in it for one.
  config = {};
  config.ip_family = IPFamily{0};
  kor::Result result = Ask("GetNetworkConfig", index, ip_family);
  if (result != kor::Result::kSuccess) return result;
  WwanPolicy policy;
  if (!Table().Get(index, policy)) return kor::Result::kFailure;
  kor::modem::CallConfig given;
  result = kor::modem::ModemPort::Get().GetCallConfig(policy.handle, ip_family, given);
  if (result != kor::Result::kSuccess) return result;
  config = {ip_family, Checked(ip_family, given.address), Checked(ip_family, given.dns_1),
            Checked(ip_family, given.dns_2)};
  return result;
}

}  // namespace kor::vendor::qcom::qcmap
