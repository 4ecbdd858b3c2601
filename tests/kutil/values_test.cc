// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "common/event_dic.h"
#include "common/util/misc.h"
#include "common/util/thread.h"

namespace kor::util {
namespace {

TEST(MiscTest, AWholeTextIsANumberOrAnError) {
  const struct {
    const char* text;
    bool error;
    int value;
  } cases[] = {
      {"0", false, 0},         {"-5", false, -5},
      {"007", false, 7},       {"2147483647", false, 2147483647},
      {"2147483648", true, 0}, {"-2147483649", true, 0},
      {"", true, 0},           {"-", true, 0},
      {"+5", true, 0},         {" 5", true, 0},
      {"5 ", true, 0},         {"5x", true, 0},
      {"0x10", true, 0},       {"99999999999999999999", true, 0},
  };
  for (const auto& c : cases) {
    bool error = !c.error;  // Is set both ways.
    EXPECT_EQ(c.value, Misc::StoiWithException(c.text, error)) << c.text;
    EXPECT_EQ(c.error, error) << c.text;
  }
  bool error = false;
  EXPECT_EQ(0, Misc::StoiWithException(std::string("5\0", 2), error));
  EXPECT_TRUE(error);
}

TEST(EventDicTest, AMissingParameterIsEmptyAndStaysMissing) {
  EventDic event;
  event.params[EventDic::kParamHandle] = "101";
  EXPECT_EQ("101", event.GetParam(EventDic::kParamHandle));
  EXPECT_EQ("", event.GetParam(EventDic::kParamIpFamily));
  EXPECT_EQ(1u, event.params.size());
}

TEST(ThreadTest, HoldsOneThreadAfterTheOther) {
  Thread thread;
  thread.Join();
  for (int round = 1; round <= 2; ++round) {
    int ran = 0;
    thread = std::thread([&] { ran = round; });
    thread.Join();
    thread.Join();
    EXPECT_EQ(round, ran);
  }
}

}  // namespace
}  // namespace kor::util
