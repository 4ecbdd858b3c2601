// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kor::util {

// The IP versions of a call or a policy. Any other value selects no family.
enum class IPFamily : uint32_t {
  kIpv4 = 1,
  kIpv6 = 2,
  kBoth = 3,
};

}  // namespace kor::util
