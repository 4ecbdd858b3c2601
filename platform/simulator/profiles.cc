// SPDX-License-Identifier: Apache-2.0
#include "simulator/profiles.h"

namespace kor::modem {

using kor::wwan::DataManager;

DataManager::ProfileSetting Profiles::Make(int index, const char* name, const char* apn) {
  Setting setting;
  setting.index = index;
  setting.name = name;
  setting.apn = apn;
  return setting;
}

DataManager::ProfileSetting Profiles::MakePrivate(int index) {
  Setting setting = Make(index, "private", "m2m.example");
  setting.user_name = "router";
  setting.password = "hush-9f3b51";  // Like nothing else, so that a log can be searched for it.
  setting.pdp_type = DataManager::PdpType::kIpv4;
  setting.authentication = DataManager::Authentication::kChap;
  return setting;
}

kor::Result Profiles::Get(DataManager::ProfileType type, int index, Setting& setting) const {
  for (const Setting& profile : profiles_) {
    if (profile.type != type || profile.index != index) continue;
    setting = profile;
    return kor::Result::kSuccess;
  }
  return kor::Result::kFailure;
}

bool Profiles::Serves(int index, kor::util::IPFamily family) const {
  Setting profile;
  if (Get(DataManager::ProfileType::k3gpp, index, profile) != kor::Result::kSuccess) return false;
  const auto only = family == kor::util::IPFamily::kIpv4 ? DataManager::PdpType::kIpv4 : DataManager::PdpType::kIpv6;
  return profile.pdp_type == only || profile.pdp_type == DataManager::PdpType::kIpv4v6;
}

std::list<DataManager::ProfileInfo> Profiles::List() const {
  std::list<DataManager::ProfileInfo> list;
  for (const Setting& profile : profiles_) list.push_back({profile.type, profile.index, profile.name});
  return list;
}

}  // namespace kor::modem
