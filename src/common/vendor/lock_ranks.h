// SPDX-License-Identifier: Apache-2.0
// The ranks of the vendor clients' locks (lock_order.h): their tables stand among the library's, 100 to 299, the rest
// from 300 on. docs/architecture.md says what each is.
#pragma once

#include "common/lock_order.h"

namespace kor::vendor::qcom::rank {

using kor::util::LockRank;

inline constexpr LockRank kRadioTables{120, "kRadioTables"};
inline constexpr LockRank kDataTables{150, "kDataTables"};
inline constexpr LockRank kAtTable{190, "kAtTable"};
inline constexpr LockRank kRouterFile{290, "kRouterFile"};
inline constexpr LockRank kLan{300, "kLan"};
inline constexpr LockRank kAutoConnect{305, "kAutoConnect"};
inline constexpr LockRank kPolicies{310, "kPolicies"};
inline constexpr LockRank kQueryAnswer{320, "kQueryAnswer"};
inline constexpr LockRank kTold{330, "kTold"};

}  // namespace kor::vendor::qcom::rank
