// SPDX-License-Identifier: Apache-2.0
// What a LAN's settings may be: pure.
#pragma once

#include <cstdint>

#include "wwan/mobileap_manager.h"

namespace kor::vendor::qcom::qcmap {

// False when an address does not parse, the gateway's is none that a host can have in its subnet, the netmask's ones
// are not the first bits, or the pool's first address is above its last. Without DHCP there need be no pool. Whether
// the pool lies in the subnet is not looked at: gateway and pool may move one after the other.
bool IsLanConfig(const kor::wwan::MobileapManager::LanConfig& config);

bool IsVlanId(int32_t id);  // 1 to 4094.

// Whether the target is one of the mode.
bool IsPassthrough(const kor::wwan::MobileapManager::IpPassthroughConfig& config);

}  // namespace kor::vendor::qcom::qcmap
