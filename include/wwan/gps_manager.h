// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/export.h"

namespace kor::wwan {

// The place of satellite positioning in the API. It has no operations.
class KOR_EXPORT GpsManager {
 public:
  GpsManager();
  ~GpsManager();
};

}  // namespace kor::wwan
