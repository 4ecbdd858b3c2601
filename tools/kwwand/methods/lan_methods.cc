// SPDX-License-Identifier: Apache-2.0
// lan.*: the LAN's addresses and its DHCP server.
#include "kwwand/methods/params.h"
#include "kwwand/methods/registry.h"

namespace kor::host {

namespace {

constexpr size_t kMaxAddress = 15;
constexpr int kMaxConfirm = 86400;

Json StateJson(const LanGuard::State& state) {
  Json json = LanJson(state.lan);
  json["confirm_in_s"] = state.confirm_in_s ? Json(*state.confirm_in_s) : Json();
  return json;
}

std::optional<std::string> Address(const Params& params, const char* name) {
  if (!params.Has(name)) return std::nullopt;
  return params.Text(name, kMaxAddress);
}

LanChange ReadChange(const Params& params) {
  LanChange change;
  change.gateway = Address(params, "gateway");
  change.netmask = Address(params, "netmask");
  if (params.Has("dhcp")) change.dhcp = params.Switch("dhcp");
  change.start = Address(params, "start");
  change.end = Address(params, "end");
  if (params.Has("lease_s")) change.lease_s = params.Number("lease_s", 1, INT32_MAX);
  change.move_pool = params.Switch("move_pool", false);
  return change;
}

Json ShowLan(Core& core, const Request& request) {
  const Params params(request, {});
  return StateJson(core.lan->Show());
}

Json SetLan(Core& core, const Request& request) {
  const Params params(request, {"gateway", "netmask", "dhcp", "start", "end", "lease_s", "move_pool", "confirm_s"});
  const LanChange change = ReadChange(params);
  std::optional<std::chrono::seconds> confirm;
  if (params.Has("confirm_s")) confirm = std::chrono::seconds(params.Number("confirm_s", 1, kMaxConfirm));
  return StateJson(core.lan->Set(change, confirm));
}

Json ConfirmLan(Core& core, const Request& request) {
  const Params params(request, {});
  return StateJson(core.lan->Confirm());
}

Json RollBackLan(Core& core, const Request& request) {
  const Params params(request, {});
  return StateJson(core.lan->RollBack("on request"));
}

}  // namespace

void AddLanMethods(Registry& registry) {
  registry.Read("lan.show", ShowLan);
  registry.Change("lan.set", SetLan);
  registry.Change("lan.confirm", ConfirmLan);
  registry.Change("lan.rollback", RollBackLan);
}

}  // namespace kor::host
