// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "kwwand/host/core.h"

namespace kor::host {

// The DNS service and what its files say, as dns.show tells it.
Json DnsJson(Core& core);

}  // namespace kor::host
