// SPDX-License-Identifier: Apache-2.0
#include "common/vendor/wms_qmi_client.h"

#include <stdexcept>

#include "clients/operation.h"

namespace kor::vendor::qcom::qmi {

namespace {

using kor::modem::ModemPort;
using RouteList = std::list<kor::wwan::SmsManager::RouteInfo>;

WmsQmiClient* CreateClient() {
  auto* const client = new WmsQmiClient;
  ModemPort::Get().SetSmsReport([client](kor::util::EventDic& ev) { client->event_cbs.Notify(ev); });
  return client;
}

// "CLASS:STORAGE:ACTION" for each route.
std::string Text(const RouteList& routes) {
  std::string text;
  for (const auto& route : routes) {
    text += (text.empty() ? "" : " ") + ArgumentText(route.message_class) + ":" + ArgumentText(route.storage) + ":" +
            ArgumentText(route.action);
  }
  return text;
}

}  // namespace

WmsQmiClient* WmsQmiClient::GetInstance() {
  if (!Admitted("WmsQmiClient.GetInstance")) throw std::runtime_error("WmsQmiClient: the modem is not reachable");
  static WmsQmiClient* const instance = CreateClient();
  return instance;
}

kor::Result WmsQmiClient::GetRouteList(RouteList& routes) {
  const kor::Result admitted = Ask("GetRouteList");
  return admitted == kor::Result::kSuccess ? ModemPort::Get().GetSmsRoutes(routes) : admitted;
}

kor::Result WmsQmiClient::SetRouteList(RouteList& routes) {
  const kor::Result admitted = Ask("SetRouteList", Text(routes));
  return admitted == kor::Result::kSuccess ? ModemPort::Get().SetSmsRoutes(routes) : admitted;
}

kor::Result WmsQmiClient::ModifyTagAsync() {
  const kor::Result admitted = Ask("ModifyTagAsync");
  return admitted == kor::Result::kSuccess ? ModemPort::Get().ModifySmsTags() : admitted;
}

}  // namespace kor::vendor::qcom::qmi
