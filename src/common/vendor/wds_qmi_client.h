// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <list>

#include "common/event_cb_map.h"
#include "common/export.h"
#include "common/result.h"
#include "common/vendor/lock_ranks.h"
#include "wwan/data_manager.h"

namespace kor::vendor::qcom::qmi {

// The client of the modem's wireless data service (QMI WDS): the stored data profiles.
//
// Thread safety: all operations may be called from any thread. Each waits for the modem's answer, for 10 seconds at the
// longest (kTimeout): in an event callback it would hold up the events behind it.
class KOR_EXPORT WdsQmiClient {
 public:
  // The process's one client, alive until the process ends. Throws std::runtime_error when the modem is not reachable.
  static WdsQmiClient* GetInstance();

  // kSuccess when the profile exists and `setting` is filled.
  kor::Result GetProfileSetting(kor::wwan::DataManager::ProfileType type, int index,
                                kor::wwan::DataManager::ProfileSetting& setting);
  kor::Result GetProfileList(std::list<kor::wwan::DataManager::ProfileInfo>& profiles);

  kor::util::EventCbMap event_cbs{rank::kDataTables};
};

}  // namespace kor::vendor::qcom::qmi
