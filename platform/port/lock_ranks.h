// SPDX-License-Identifier: Apache-2.0
// The ranks of the locks behind the modem port (common/lock_order.h), the simulated modem's among them: from 400 on.
// docs/architecture.md says what each is.
#pragma once

#include "common/lock_order.h"

namespace kor::modem::rank {

using kor::util::LockRank;

inline constexpr LockRank kModemTerminals{400, "kModemTerminals"};
inline constexpr LockRank kModem{410, "kModem"};
inline constexpr LockRank kModemCard{420, "kModemCard"};
inline constexpr LockRank kModemQueue{430, "kModemQueue"};

}  // namespace kor::modem::rank
