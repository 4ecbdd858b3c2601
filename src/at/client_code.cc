// SPDX-License-Identifier: Apache-2.0
#include "at/client_code.h"

#include "common/log.h"

namespace kor::wwan {

void LogThrown(const char* what, const char* name, const char* text) {
  KOR_LOG(LOG_ERR, "%s of %s threw: %s\n", what, name, text);
}

}  // namespace kor::wwan
