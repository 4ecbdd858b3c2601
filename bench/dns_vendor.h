// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kor::bench {

// A modem that answers at once, linked in the place of the mobile-AP wrapper and the wireless data client: from now on
// it has `policies` policies. Each has two servers for either family, one of which is the same for all policies.
// Requires: no refresh runs.
void ScriptPolicies(uint32_t policies);

}  // namespace kor::bench
