// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kor::test {

// How often operator new was called in this process so far, by whatever thread.
long Allocations();

}  // namespace kor::test
