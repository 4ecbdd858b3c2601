// SPDX-License-Identifier: Apache-2.0
// profile.*: the modem's data profiles. Passwords go in and never come out.
#include "kwwand/host/words.h"
#include "kwwand/methods/params.h"
#include "kwwand/methods/registry.h"

namespace kor::host {

namespace {

using kor::wwan::DataManager;

constexpr size_t kMaxSetting = 100;  // 3GPP TS 23.003 has it for access point names.
constexpr size_t kMaxPassword = 127;

struct Place {
  int index;
  ProfileType type;
};

Place PlaceOf(const Params& params) {
  return {params.Number("index", 1, kMaxProfile), params.Choice("type", kProfileTypes, ProfileType::k3gpp)};
}

std::string Named(const char* doing, int index) { return std::string(doing) + " profile " + std::to_string(index); }

Json ListProfiles(Core& core, const Request& request) {
  const Params params(request, {});
  std::list<DataManager::ProfileInfo> profiles;
  Check(core.data->GetProfileList(profiles), "reading the profiles");
  Json list = Json::array();
  for (const auto& profile : profiles) {
    list.push_back({{"index", profile.index}, {"type", TextOf(kProfileTypes, profile.type)}, {"name", profile.name}});
  }
  return {{"profiles", list}};
}

Json ShowProfile(Core& core, const Request& request) {
  const Params params(request, {"index", "type"});
  const Place place = PlaceOf(params);
  DataManager::ProfileSetting setting;
  Check(core.data->GetProfileSetting(place.type, place.index, setting), Named("reading", place.index));
  return {{"index", setting.index},
          {"type", TextOf(kProfileTypes, setting.type)},
          {"name", setting.name},
          {"apn", setting.apn},
          {"user_name", setting.user_name},
          {"pdp_type", TextOf(kPdpTypes, setting.pdp_type)},
          {"authentication", TextOf(kAuthentications, setting.authentication)},
          {"has_password", !setting.password.empty()}};
}

// The library makes and changes none; its answer tells whether it could be done.
Json CreateProfile(Core& core, const Request& request) {
  const Params params(request, {"index", "type"});
  const Place place = PlaceOf(params);
  Check(core.data->CreateProfile(place.type, place.index), Named("creating", place.index));
  return Json::object();
}

Json ModifyProfile(Core& core, const Request& request) {
  const Params params(request, {"index", "type", "name", "apn", "user_name", "password", "pdp_type", "authentication"});
  const Place place = PlaceOf(params);
  DataManager::ProfileSetting setting;
  setting.type = place.type;
  setting.index = place.index;
  setting.name = params.Text("name", kMaxSetting, "");
  setting.apn = params.Text("apn", kMaxSetting, "");
  setting.user_name = params.Text("user_name", kMaxSetting, "");
  if (params.Has("password"))
    setting.password = params.Secret("password", 0, kMaxPassword, "a text of at most 127 bytes");
  setting.pdp_type = params.Choice("pdp_type", kPdpTypes, PdpType::kIpv4v6);
  setting.authentication = params.Choice("authentication", kAuthentications, Authentication::kNone);
  Check(core.data->ModifyProfileSetting(setting), Named("changing", place.index));
  return Json::object();
}

}  // namespace

void AddProfileMethods(Registry& registry) {
  registry.Read("profile.list", ListProfiles);
  registry.Read("profile.show", ShowProfile);
  registry.Change("profile.create", CreateProfile);
  registry.Change("profile.modify", ModifyProfile);
}

}  // namespace kor::host
