// SPDX-License-Identifier: Apache-2.0
#include "host_fixture.h"

namespace kor::test {
namespace {

struct Wrong {
  const char* method;
  std::string params;
  std::string message;
  const char* nearest;  // Empty: none.
};

TEST_F(HostTest, WrongParamsSayWhichMemberAndWhatItTakes) {
  const Wrong table[] = {
      {"call.up", R"({"index":0,"family":"ip4"})", R"(family: takes ipv4 or ipv6, not "ip4")", "ipv4"},
      {"call.up", R"({"index":0,"family":"ipv5"})", R"(family: takes ipv4 or ipv6, not "ipv5")", ""},
      {"call.up", R"({"index":0,"family":null})", "family: is missing, takes ipv4 or ipv6", ""},
      {"call.up", R"({"index":0,"cid":1,"family":"ipv4"})", "cid: takes no value together with index, not 1", ""},
      {"call.show", R"({"indx":0})", "indx: unknown; takes index or cid; did you mean index?", "index"},
      {"call.show", R"({"index":1})", "index: takes the number of a policy, 0 to 0, not 1", ""},
      {"call.show", R"({"index":18446744073709551615})",
       "index: takes a number from 0 to 255, not 18446744073709551615", ""},
      {"call.show", R"({"index":0.5})", "index: takes a number from 0 to 255, not 0.5", ""},
      {"policy.create", R"({"technology":"lte+lt","profile":1})",
       R"(technology: takes any, or umts, lte and nr5g joined with +, not "lte+lt")", ""},
      {"policy.autoconnect", R"({"index":0,"on":"yes"})", R"(on: takes true or false, not "yes")", ""},
      {"at.claim", R"({"name":"+A=1","answer":"x"})", R"(name: takes a name such as +MYCMD, not "+A=1")", ""},
      {"at.claim", R"({"name":"+cmee","answer":"x"})",
       R"(name: takes a name that no modem answers itself, not "+cmee")", ""},
      {"at.claim", R"({"name":"+CPIN","answer":"x"})",
       R"(name: takes a name without PINs or passwords as parameters, which the log would show, not "+CPIN")", ""},
      {"at.claim", R"({"name":"+A"})", "run: is missing, takes a text of at most 2048 bytes", ""},
      {"at.claim", R"({"name":"+A","answer":"a\u0000b"})",
       R"(answer: takes a text of at most 2048 bytes, not "a\u0000b")", ""},
      {"sms.route", R"({"class":"class 1","storage":"sim","action":"store-and-notif"})",
       R"(action: takes discard, store-and-notify, transfer-only or transfer-and-ack, not "store-and-notif")",
       "store-and-notify"},
      // A secret is not repeated, whatever is wrong with it.
      {"pin.lock", R"({"pin":"12x4"})", "pin: takes 4 to 8 digits", ""},
      {"pin.change", R"({"old_pin":"1234","new_pin":987654321})", "new_pin: takes 4 to 8 digits", ""},
      {"at.notify", Json{{"text", std::string(2049, 'x')}}.dump(),
       "text: takes a text of at most 2048 bytes, not \"" + std::string(39, 'x') + "...", ""},
      // What is long is cut, not within a character: 40 bytes hold the quote, 19 of them and half of one more.
      {"modem.run", R"({"line":["ÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄ"]})",
       R"(line: takes a text of at most 4096 bytes, not ["ÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄ...)", ""},
  };
  for (const Wrong& wrong : table) {
    const Json answer = Call(wrong.method, wrong.params);
    ASSERT_TRUE(answer.contains("error")) << wrong.params << answer;
    const Json& error = answer["error"];
    EXPECT_EQ(kor::host::kInvalidParams, error["code"]) << wrong.params;
    EXPECT_EQ(wrong.message, error["message"]);
    EXPECT_EQ(wrong.nearest, error["data"].value("nearest", "")) << wrong.params;
    const std::string argument = error["data"]["argument"];
    EXPECT_EQ(0u, error["message"].get<std::string>().rfind(argument + ": ", 0)) << error;
  }
}

}  // namespace
}  // namespace kor::test
