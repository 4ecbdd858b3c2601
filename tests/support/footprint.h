// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace kor::test {

// What the process holds at this moment, so that an operation can be asked what it left behind: "12 descriptors, 3
// threads, 2 interfaces, ...". Subscriptions are those of all vendor clients' events and of the DNS service's.
std::string Footprint();

// Whether the process comes to hold that, no more and no less: threads and interfaces take a moment to go.
testing::AssertionResult ComesTo(const std::string& footprint);

}  // namespace kor::test
