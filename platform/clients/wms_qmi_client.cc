// SPDX-License-Identifier: Apache-2.0
#include "common/vendor/wms_qmi_client.h"

#include <cstdlib>

#include "clients/over_port.h"
#include "common/log.h"
#include "common/modem_events.h"

namespace kor::vendor::qcom::qmi {

namespace {

using kor::modem::ModemPort;
using RouteList = std::list<kor::wwan::SmsManager::RouteInfo>;

// A message that wants it is acknowledged once the subscribers have heard it: until then it is the network's.
void Publish(WmsQmiClient& client, ModemPort& port, kor::util::EventDic& ev) {
  const auto ack = ev.params.find(kor::util::kParamSmsAck);
  const auto id = ack == ev.params.end() ? 0 : strtoul(ack->second.c_str(), nullptr, 10);
  client.event_cbs.Notify(ev);
  if (id == 0) return;
  const kor::Result result = port.AcknowledgeSms(static_cast<uint32_t>(id));
  if (result == kor::Result::kSuccess) return;
  KOR_LOG(LOG_WARNING, "a short message is not acknowledged and will come again: %d\n", static_cast<int>(result));
}

void Begin(WmsQmiClient& client, ModemPort& port) {
  port.SetSmsReport([&client, &port](kor::util::EventDic& ev) { Publish(client, port, ev); });
}

}  // namespace

WmsQmiClient* WmsQmiClient::GetInstance() { return OnlyClient<WmsQmiClient>(Begin); }

kor::Result WmsQmiClient::GetRouteList(RouteList& routes) { return PortOf(this).GetSmsRoutes(routes); }

kor::Result WmsQmiClient::SetRouteList(RouteList& routes) { return PortOf(this).SetSmsRoutes(routes); }

kor::Result WmsQmiClient::ModifyTagAsync() { return PortOf(this).ModifySmsTags(); }

}  // namespace kor::vendor::qcom::qmi
