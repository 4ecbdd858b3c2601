// SPDX-License-Identifier: Apache-2.0
#include "wwan/gps_manager.h"

namespace kor::wwan {

GpsManager::GpsManager() = default;

GpsManager::~GpsManager() {}

}  // namespace kor::wwan
