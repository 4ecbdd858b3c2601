// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <type_traits>
#include <utility>

#include "common/util/fd_monitor.h"
#include "common/util/misc.h"
#include "common/util/network_manager.h"

namespace kor::util {
namespace {

using namespace std::string_literals;

// A monitor without a thread to watch on, or two owners of one subscription, are not to be made.
static_assert(!std::is_default_constructible_v<FdMonitor> && !std::is_copy_constructible_v<FdMonitor>);
static_assert(!std::is_copy_constructible_v<NetworkManager> && !std::is_copy_assignable_v<NetworkManager>);

TEST(MiscTest, AWholeTextIsANumberOrAnError) {
  const std::pair<const char*, int> numbers[] = {{"0", 0}, {"-5", -5}, {"007", 7}, {"2147483647", INT_MAX}};
  for (const auto& [text, value] : numbers) {
    bool error = true;  // Is set both ways.
    EXPECT_EQ(value, Misc::StoiWithException(text, error)) << text;
    EXPECT_FALSE(error) << text;
  }
  for (const auto& text : {"2147483648"s, "-2147483649"s, "99999999999999999999"s, ""s, "-"s, "+5"s, " 5"s, "5 "s,
                           "5x"s, "0x10"s, "5\0"s}) {
    bool error = false;
    EXPECT_EQ(0, Misc::StoiWithException(text, error)) << text;
    EXPECT_TRUE(error) << text;
  }
}

}  // namespace
}  // namespace kor::util
