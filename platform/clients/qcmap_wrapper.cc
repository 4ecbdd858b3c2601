// SPDX-License-Identifier: Apache-2.0
#include "common/vendor/qcmap_wrapper.h"

#include <algorithm>

#include "clients/over_port.h"
#include "common/addresses.h"
#include "common/log.h"
#include "common/modem_events.h"
#include "router/router.h"

namespace kor::vendor::qcom::qcmap {

namespace {

using kor::modem::CallEvent;
using kor::modem::CallReport;
using kor::modem::ModemPort;
using kor::util::EventDic;
using kor::util::IPFamily;

constexpr int kNoProfile = -1;

Router* process_router = nullptr;  // Made with the wrapper, before anybody has it.

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
void PublishCall(kor::util::EventCbMap& event_cbs, PolicyTable& policies, const CallReport& report) {
  policies.Apply(report.handle, report.family, report.event, report.serial);
  EventDic ev;
  ev.event = EventCode(report.event);
  ev.params[EventDic::kParamHandle] = std::to_string(report.handle);
  ev.params[EventDic::kParamIpFamily] = report.family == IPFamily::kIpv4 ? "4" : "6";
  if (!report.end.text.empty()) {
    ev.params[kor::util::kParamCallEndCode] = std::to_string(report.end.code);
    ev.params[kor::util::kParamCallEndText] = report.end.text;
  }
  event_cbs.Notify(ev);
}

void Begin(QcmapWrapper& wrapper, ModemPort& port) {
  auto* const router = new Router(port, Router::kStateFile);
  port.SetCallReport(
      [&wrapper, router](const CallReport& report) { PublishCall(wrapper.event_cbs, router->policies, report); });
  router->Start([&wrapper](EventDic& ev) { wrapper.event_cbs.Notify(ev); });
  process_router = router;
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
  (void)QcmapWrapper::GetInstance();
  return *process_router;
}

QcmapWrapper* QcmapWrapper::GetInstance() { return OnlyClient<QcmapWrapper>(Begin); }

bool QcmapWrapper::GetWwanPolicies(std::vector<WwanPolicy>& policies) {
  policies = Table().List();
  return true;
}

bool QcmapWrapper::GetWwanPolicy(uint32_t index, WwanPolicy& policy) { return Table().Get(index, policy); }

bool QcmapWrapper::SetWwanPolicy(uint32_t index, kor::wwan::Tech tech, IPFamily ip_family, int profile_1,
                                 int profile_2) {
  WwanPolicy policy{profile_1, profile_2, tech, ip_family, 0};
  GiveOneProfile(policy);
  return Table().Set(index, policy);
}

bool QcmapWrapper::CreateWwanPolicy(kor::wwan::Tech tech, IPFamily ip_family, uint8_t profile_1, uint8_t profile_2) {
  return Table().Create({profile_1, profile_2, tech, ip_family, 0});
}

bool QcmapWrapper::DeleteWwanPolicy(uint8_t index) { return Router::Get().lan.DeletePdn(index); }

bool QcmapWrapper::GetWwanConnectStatus(uint32_t index, ConnectStatus& ipv4, ConnectStatus& ipv6) {
  return Table().GetStatus(index, ipv4, ipv6);
}

bool QcmapWrapper::SetAutoConnect(uint32_t index, bool enable) { return Table().SetAutoConnect(index, enable); }

bool QcmapWrapper::GetAutoConnect(uint32_t index, bool& enabled) { return Table().GetAutoConnect(index, enabled); }

bool QcmapWrapper::SetRoaming(uint32_t index, bool enable) { return Table().SetRoaming(index, enable); }

bool QcmapWrapper::GetRoaming(uint32_t index, bool& enabled) { return Table().GetRoaming(index, enabled); }

bool QcmapWrapper::GetIpv4State(uint32_t index, bool& enabled) {
  return Table().GetEnabled(index, IPFamily::kIpv4, enabled);
}

bool QcmapWrapper::GetIpv6State(uint32_t index, bool& enabled) {
  return Table().GetEnabled(index, IPFamily::kIpv6, enabled);
}

bool QcmapWrapper::EnableIpv4(uint32_t index) { return Table().SetEnabled(index, IPFamily::kIpv4, true); }

bool QcmapWrapper::DisableIpv4(uint32_t index) { return Table().SetEnabled(index, IPFamily::kIpv4, false); }

bool QcmapWrapper::EnableIpv6(uint32_t index) { return Table().SetEnabled(index, IPFamily::kIpv6, true); }

bool QcmapWrapper::DisableIpv6(uint32_t index) { return Table().SetEnabled(index, IPFamily::kIpv6, false); }

kor::Result QcmapWrapper::ConnectBackhaul(uint32_t index, IPFamily ip_family) {
  return Table().Connect(index, ip_family);
}

kor::Result QcmapWrapper::DisconnectBackhaul(uint32_t index, IPFamily ip_family) {
  return Table().Disconnect(index, ip_family);
}

kor::Result QcmapWrapper::GetNetworkConfig(uint32_t index, IPFamily ip_family, NetworkConfig& config) {
  // Until there is an answer the record names no family, so that nobody takes what was in it for one.
  config = {};
  config.ip_family = IPFamily{0};
  // The modem is not asked about a call that is down: a refresh of the DNS service asks for those of all policies, and
  // would try again and again while the modem is gone.
  const int32_t handle = Table().HandleToAsk(index, ip_family);
  if (handle == 0) return kor::Result::kFailure;
  kor::modem::CallConfig given;
  const kor::Result result = PortOf(this).GetCallConfig(handle, ip_family, given);
  if (result != kor::Result::kSuccess) return result;
  config = {ip_family, Checked(ip_family, given.address), Checked(ip_family, given.dns_1),
            Checked(ip_family, given.dns_2)};
  return result;
}

}  // namespace kor::vendor::qcom::qcmap
