// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "kwwand/wire/method.h"

namespace kor::host {

constexpr char kMonitorStart[] = "monitor.start";  // Its answer is followed by events.

// The methods of the process itself: host.version and monitor.start.
Methods MakeOwnMethods();

}  // namespace kor::host
