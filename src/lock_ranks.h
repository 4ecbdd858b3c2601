// SPDX-License-Identifier: Apache-2.0
// The ranks of the library's own locks (common/lock_order.h): 100 to 299, with the tables of the vendor clients in
// between, whose callbacks come up through it. docs/architecture.md says what each is.
#pragma once

#include "common/lock_order.h"

namespace kor::wwan::rank {

using kor::util::LockRank;

inline constexpr LockRank kAtLifecycle{100, "kAtLifecycle"};
inline constexpr LockRank kAtRegistry{110, "kAtRegistry"};
inline constexpr LockRank kManagerCount{130, "kManagerCount"};
inline constexpr LockRank kService{140, "kService"};
inline constexpr LockRank kDnsTable{160, "kDnsTable"};
inline constexpr LockRank kEventQueue{170, "kEventQueue"};
inline constexpr LockRank kAtHolders{180, "kAtHolders"};
inline constexpr LockRank kAtTimerLink{200, "kAtTimerLink"};
inline constexpr LockRank kAtQueue{210, "kAtQueue"};
inline constexpr LockRank kWaitKeys{220, "kWaitKeys"};

}  // namespace kor::wwan::rank
