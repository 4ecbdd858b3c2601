// SPDX-License-Identifier: Apache-2.0
// sms.*: where short messages go.
#include "kwwand/host/words.h"
#include "kwwand/methods/params.h"
#include "kwwand/methods/registry.h"

namespace kor::host {

namespace {

using kor::wwan::SmsManager;
using Routes = std::list<SmsManager::RouteInfo>;

constexpr Word<MessageStorage> kRealStorages[] = {{MessageStorage::kSim, "sim"}, {MessageStorage::kDevice, "device"}};

Routes ReadRoutes(Core& core) {
  Routes routes;
  Check(core.sms->GetRouteList(routes), "reading the routes");
  return routes;
}

Json RoutesJson(Core& core) {
  Json routes = Json::array();
  for (const auto& route : ReadRoutes(core)) {
    routes.push_back({{"class", TextOf(kMessageClasses, route.message_class)},
                      {"storage", TextOf(kMessageStorages, route.storage)},
                      {"action", TextOf(kReceiptActions, route.action)}});
  }
  return {{"routes", routes}};
}

Json ShowRoutes(Core& core, const Request& request) {
  const Params params(request, {});
  return RoutesJson(core);
}

Json SetRoute(Core& core, const Request& request) {
  const Params params(request, {"class", "storage", "action"});
  const SmsManager::RouteInfo wanted{params.Choice("class", kMessageClasses),
                                     params.Choice("storage", kMessageStorages),
                                     params.Choice("action", kReceiptActions)};
  Routes routes = ReadRoutes(core);
  routes.remove_if([&](const auto& route) { return route.message_class == wanted.message_class; });
  routes.push_back(wanted);
  Check(core.sms->SetRouteList(routes), "changing the route");
  return RoutesJson(core);
}

Json ShowStorage(Core& core, const Request& request) {
  const Params params(request, {"storage"});
  const MessageStorage storage = params.Choice("storage", kRealStorages);
  SmsManager::MessageStorageStatus status;
  Check(core.sms->GetStorageStatus(storage, SmsManager::MessageMode::kGsmWcdma, status), "reading the storage");
  return {{"storage", TextOf(kMessageStorages, storage)}, {"capacity", status.capacity}, {"used", status.used}};
}

}  // namespace

void AddSmsMethods(Registry& registry) {
  registry.Read("sms.routes", ShowRoutes, Lane::kWaiting);
  registry.Change("sms.route", SetRoute, Lane::kWaiting);
  registry.Read("sms.storage", ShowStorage, Lane::kWaiting);
}

}  // namespace kor::host
