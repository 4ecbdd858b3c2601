// SPDX-License-Identifier: Apache-2.0
// AT commands that clients of the host answer.
#include <unistd.h>

#include <csignal>
#include <future>

#include "host_fixture.h"
#include "support/files.h"

namespace kor::test {
namespace {

using namespace std::chrono_literals;

class AtClaimsTest : public HostTest {
 protected:
  void Claim(const std::string& name, const char* kind, const std::string& text) {
    const Json params{{"name", name}, {kind, text}};
    ASSERT_EQ(0, ErrorOf("at.claim", params.dump()));
    ASSERT_TRUE(Eventually([&] { return EntryOf(name)["state"] == "registered"; }));
  }

  Json EntryOf(const std::string& name) {
    const Json list = Call("at.list");
    for (const Json& entry : list.at("commands")) {
      if (entry["name"] == name) return entry;
    }
    return nullptr;
  }
};

TEST_F(AtClaimsTest, ATextOrACommandAnswers) {
  EXPECT_TRUE(modem.IsSoftwareReady());
  Claim("+KWPING", "answer", "pong");
  EXPECT_EQ("pong\nOK", modem.Type("AT+KWPING"));
  EXPECT_EQ(1, EntryOf("+KWPING")["served"]);
  EXPECT_EQ(nullptr, EntryOf("+KWPING").at("run"));

  // Claimed anew as a command. What was typed is never part of the shell's line.
  Claim("+KWPING", "run", R"(echo "$AT_NAME $AT_OP $AT_PARAM_1 $AT_PARAM_2"; echo; echo)");
  EXPECT_EQ("+KWPING set $(touch /tmp/x);reboot 2\nOK", modem.Type(R"(AT+KWPING="$(touch /tmp/x);reboot",2)"));
  EXPECT_NE(0, access("/tmp/x", F_OK));
  EXPECT_EQ("+KWPING read  \nOK", modem.Type("AT+KWPING?"));

  // An exit status, a signal: failures. Much output: its beginning.
  Claim("+KWPING", "run", "echo no; exit 3");
  EXPECT_EQ("ERROR", modem.Type("AT+KWPING"));
  Claim("+KWPING", "run", "kill -9 $$");
  EXPECT_EQ("ERROR", modem.Type("AT+KWPING"));
  Claim("+KWPING", "run", "head -c 1000000 /dev/zero | tr '\\0' x");
  EXPECT_EQ(std::string(2048, 'x') + "\nOK", modem.Type("AT+KWPING"));

  // What is left in the background holds nobody up, even with the output open, and lives on.
  Claim("+KWPING", "run", "sleep 600 & echo $!");
  const std::string answer = modem.Type("AT+KWPING");
  const pid_t background = static_cast<pid_t>(std::stol(answer));
  EXPECT_EQ(std::to_string(background) + "\nOK", answer);
  EXPECT_EQ(0, kill(background, SIGKILL));
  EXPECT_EQ(0, ErrorOf("at.notify", R"({"text":"+KWALARM: 1"})"));
  EXPECT_EQ(7, EntryOf("+KWPING")["served"]);
}

TEST_F(AtClaimsTest, WhoMayOnlyChangeThingsHasNothingRunAndThereIsALimit) {
  may = kor::host::Access::kChange;
  EXPECT_EQ(-32000, ErrorOf("at.claim", R"({"name":"+KWID","run":"id"})"));
  for (int i = 0; i < 64; ++i) Claim("+KW" + std::to_string(i), "answer", "x");
  ASSERT_EQ(0, ErrorOf("at.release", R"({"name":"+KW0"})"));  // The modem keeps the name.
  const Json refusal = Call("at.claim", R"({"name":"+KWID","answer":"x"})")["error"];
  EXPECT_EQ(-32001, refusal["code"]);
  EXPECT_EQ("the modem keeps 64 names of claimed commands, and no more can be", refusal["message"]);
  EXPECT_EQ(nullptr, EntryOf("+KWID"));
  Claim("+KW63", "answer", "another");
}

TEST_F(AtClaimsTest, AClaimIsTakenBackAndTheNameStaysWithTheModem) {
  Claim("!KWX", "answer", "one");
  EXPECT_EQ("one\nOK", modem.Type("AT!kwx"));
  EXPECT_EQ(0, ErrorOf("at.release", R"({"name":"!kwx"})"));
  EXPECT_EQ("ERROR", modem.Type("AT!KWX"));
  EXPECT_EQ(nullptr, EntryOf("!KWX"));
  EXPECT_EQ(kor::host::kInvalidParams, ErrorOf("at.release", R"({"name":"!KWX"})"));

  // Claimed anew it is registered already: the modem is not asked again.
  modem.SetRecording(true);
  EXPECT_EQ("registered", Call("at.claim", R"({"name":"!KWX","answer":"two"})")["state"]);
  EXPECT_EQ("two\nOK", modem.Type("AT!KWX"));
  EXPECT_EQ(1, EntryOf("!KWX")["served"]);
  for (const std::string& line : modem.TakeRecord()) EXPECT_NE(0u, line.find("RegisterAtNames")) << line;
}

TEST_F(AtClaimsTest, ACommandThatHangsIsKilledWithAllItsChildren) {
  // Its own pid, then children of its own.
  Claim("+KWHANG", "run", "echo $$ > /tmp/pid; sleep 600 | sleep 601; true");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ("ERROR", modem.Type("AT+KWHANG"));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 5s);
  const pid_t group = static_cast<pid_t>(std::stol(ReadFile("/tmp/pid")));
  EXPECT_TRUE(Eventually([&] { return kill(-group, 0) != 0; }));

  // The host's end does not wait the five seconds.
  WriteFile("/tmp/pid", "");
  auto typed = std::async(std::launch::async, [&] { return modem.Type("AT+KWHANG"); });
  ASSERT_TRUE(Eventually([] { return !ReadFile("/tmp/pid").empty(); }));
  const auto stop = std::chrono::steady_clock::now();
  core->Stop();
  EXPECT_LT(std::chrono::steady_clock::now() - stop, 2s);  // As the host promises.
  ASSERT_EQ(std::future_status::ready, typed.wait_for(kLongEnough));
}

}  // namespace
}  // namespace kor::test
