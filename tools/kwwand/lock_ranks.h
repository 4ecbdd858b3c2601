// SPDX-License-Identifier: Apache-2.0
// The ranks of the host's locks (common/lock_order.h): below 100 those under which the host calls the library, from 600
// on those that the library's callbacks may take. docs/architecture.md says what each is.
#pragma once

#include "common/lock_order.h"

namespace kor::host::rank {

using kor::util::LockRank;

inline constexpr LockRank kHostDns{10, "kHostDns"};
inline constexpr LockRank kLanGuard{20, "kLanGuard"};

inline constexpr LockRank kCallWaits{600, "kCallWaits"};
inline constexpr LockRank kListeners{605, "kListeners"};
inline constexpr LockRank kCallReport{610, "kCallReport"};
inline constexpr LockRank kAtClaims{620, "kAtClaims"};
inline constexpr LockRank kEventLog{630, "kEventLog"};
inline constexpr LockRank kEventSink{640, "kEventSink"};
inline constexpr LockRank kWorkers{650, "kWorkers"};
inline constexpr LockRank kMailbox{660, "kMailbox"};

}  // namespace kor::host::rank
