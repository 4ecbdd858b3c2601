// SPDX-License-Identifier: Apache-2.0
// Every test finds the vendor clients as they are at first, whatever an earlier one in the same process has scripted.
#include <gtest/gtest.h>

#include "support/scripted_vendor.h"

namespace kor::test {

namespace {

class FreshVendor : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override { Vendor::Reset(); }
};

[[maybe_unused]] const bool kListening = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new FreshVendor);
  return true;
}();

}  // namespace

}  // namespace kor::test
