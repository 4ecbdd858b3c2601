// SPDX-License-Identifier: Apache-2.0
// The ranks of the utility library's locks (common/lock_order.h): from 500 on. docs/architecture.md says what each is.
#pragma once

#include "common/lock_order.h"

namespace kor::util::rank {

inline constexpr LockRank kUtility{500, "kUtility"};

}  // namespace kor::util::rank
