// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <list>
#include <vector>

#include "common/ip_family.h"
#include "common/result.h"
#include "wwan/data_manager.h"

namespace kor::modem {

// The data profiles that the simulated modem stores: number 1 for the internet, 2 for the operator's voice service,
// 3 for a private network with a login.
//
// Thread safety: constant after construction.
class Profiles {
 public:
  using Setting = kor::wwan::DataManager::ProfileSetting;

  // kFailure when there is no such profile; `setting` is untouched then.
  kor::Result Get(kor::wwan::DataManager::ProfileType type, int index, Setting& setting) const;

  std::list<kor::wwan::DataManager::ProfileInfo> List() const;

  // Whether there is such a profile and its PDP type has the family.
  bool Serves(int index, kor::util::IPFamily family) const;

 private:
  static Setting Make(int index, const char* name, const char* apn);
  static Setting MakePrivate(int index);

  const std::vector<Setting> profiles_{Make(1, "internet", "internet"), Make(2, "ims", "ims"), MakePrivate(3)};
};

}  // namespace kor::modem
