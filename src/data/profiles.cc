// SPDX-License-Identifier: Apache-2.0
// Requests to make or change a profile: examined, and answered without changing any.
#include "common/log.h"
#include "wwan/data_manager.h"

namespace kor::wwan {

kor::Result DataManager::CreateProfile(ProfileType type, int index) {
  ProfileSetting scratch;
  if (GetProfileSetting(type, index, scratch) != kor::Result::kSuccess) return kor::Result::kNotSupported;
  KOR_LOG_AS("kor::Result kor::wwan::DataManager::CreateProfile(kor::wwan::DataManager::ProfileType, int)", LOG_ERR,
             "profile index %d already exits\n", index);
  return kor::Result::kPreconditionFailed;
}

kor::Result DataManager::ModifyProfileSetting(ProfileSetting& setting) {
  ProfileSetting scratch;
  if (GetProfileSetting(setting.type, setting.index, scratch) == kor::Result::kSuccess) {
    return kor::Result::kNotSupported;
  }
  KOR_LOG_AS("kor::Result kor::wwan::DataManager::ModifyProfileSetting(kor::wwan::DataManager::ProfileSetting&)",
             LOG_ERR, "Can't get profile setting before modifying\n");
  return kor::Result::kPreconditionFailed;
}

}  // namespace kor::wwan
