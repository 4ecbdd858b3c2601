// SPDX-License-Identifier: Apache-2.0
// Terminals on ptys, the names that are forwarded, and the vendor clients between them and a host.
#include "at/at_terminal.h"

#include "common/vendor/ats_qmi_client.h"
#include "common/vendor/m2m_qmi_client.h"
#include "simulator/bench.h"
#include "simulator/scenario.h"
#include "support/files.h"
#include "support/terminal.h"

namespace kor::test {

using namespace std::chrono_literals;
using kor::vendor::qcom::qmi::AtsQmiClient;
using kor::vendor::qcom::qmi::M2mQmiClient;
using kor::wwan::AtManager;

// A host that keeps the forwarded commands and answers when it is told to.
class AtTerminalTest : public testing::Test {
 protected:
  AtTerminalTest() {
    ats->event_cbs.Add(this, [this](kor::util::EventDic& ev) {
      if (ev.event == kor::util::kEvtAtCommand) commands.Add(*static_cast<AtManager::Command*>(ev.data));
    });
    EXPECT_EQ(0, ats->RegisterCommands({"+KW", "+kwslow"}));
  }
  ~AtTerminalTest() override {
    ats->event_cbs.Remove(this);
    ats->ReleaseInstance();
  }

  // The next forwarded command; one without a name when none comes.
  AtManager::Command Next() { return commands.Next({}); }

  SimModem& modem = SimModem::Get();
  AtsQmiClient* const ats = AtsQmiClient::GetInstance();
  Inbox<AtManager::Command> commands;
};

TEST_F(AtTerminalTest, AnswersFindTheTerminalThatAsked) {
  Terminal one(modem.OpenTerminal());
  Terminal two(modem.OpenTerminal());
  EXPECT_EQ("ATE0+CMEE=1<</OK</", one.Do("ATE0+CMEE=1"));
  EXPECT_EQ("ATE0<</OK</", two.Do("ATE0"));
  one.Type("AT+KW=1;+KW?\r");
  auto first = Next();
  two.Type("AT+kwSlow\r");
  auto second = Next();
  EXPECT_EQ("+KW +KWSLOW", first.name + " " + second.name);
  EXPECT_EQ(1, first.cmee);
  EXPECT_EQ(0, second.cmee);
  // In the other order, and neither twice.
  EXPECT_EQ(0, ats->SendResponse(second, true, "two\n"));
  EXPECT_EQ("</two</</OK</", two.ReadTo("OK</"));
  EXPECT_NE(0, ats->SendResponse(second, true, "again\n"));
  EXPECT_EQ(0, ats->SendResponse(first, true, "one\n"));
  auto third = Next();
  EXPECT_EQ(AtManager::kOpRead, third.op);
  EXPECT_NE(0, ats->SendResponse(first, false, ""));
  EXPECT_EQ(0, ats->SendResponse(third, false, "+CME ERROR: 3\n"));
  EXPECT_EQ("</one</</+CME ERROR: 3</", one.ReadTo("3</"));
  // Unsolicited texts go to all; 64 KiB in one go pass at the reader's pace.
  EXPECT_EQ(0, ats->SendNotification("ring"));
  EXPECT_EQ("</ring</", two.ReadTo("ring</"));
  one.Type("AT+KW\r");
  first = Next();
  EXPECT_EQ(0, ats->SendResponse(first, true, std::string(65536, 'x') + "\n"));
  EXPECT_EQ(65536u + 18, one.ReadTo("OK</").size());
}

TEST_F(AtTerminalTest, AHangUpTakesEverythingWithIt) {
  const std::string path = modem.OpenTerminal();
  AtManager::Command late;
  {
    Terminal first(path);
    EXPECT_EQ("ATE0<</OK</", first.Do("ATE0"));
    first.Type("AT+KW;I\rAT+CSQ\rAT+CGMI;half");
    late = Next();
  }
  for (int i = 0; i < 20; ++i) {
    Terminal next(path);  // There at once, after one that left in the middle of a line.
    EXPECT_EQ("AT<</OK</", next.Do("AT"));
    EXPECT_NE(0, ats->SendResponse(late, true, "late\n"));
    EXPECT_EQ("ATS3=7<\a/OK\a/", next.Do("ATS3=7", "OK\a/"));  // Deaf to CR.
    next.HangUp();
    Terminal after(path);
    EXPECT_EQ("ATE0<</OK</", after.Do("ATE0"));
  }

  // One that writes and is gone: what it asked for is done; what is shown then is lost.
  {
    Terminal brief(path);
    brief.Type("AT+KW=brief\r");
  }
  EXPECT_EQ(std::vector<std::string>{"brief"}, Next().params);
  EXPECT_EQ(0, ats->SendNotification("nobody sees this"));
  Terminal last(path);
  EXPECT_EQ("AT<</OK</", last.Do("AT"));
}

TEST_F(AtTerminalTest, AnEchoOfThePtysOwnMakesNoEndlessConversation) {
  const std::string path = modem.OpenTerminal();
  Shell("stty sane -F " + path);  // Another program's mode is not the next one's.
  Terminal terminal(path);
  EXPECT_EQ("AT<</OK</", terminal.Do("AT"));
  // The mode of a program that is there stays, but what the modem shows does not come back to it as typed.
  Shell("stty sane -icrnl -icanon -opost -F " + path);
  EXPECT_EQ("AT<</OK</", terminal.Do("AT"));
  EXPECT_EQ("</+CSQ: 29,99</", (terminal.Do("ATE0+CSQ", "OK</"), terminal.Do("AT+CSQ", "99</")));
  Shell("stty -F " + path + " | grep -q -- -echo");
}

TEST_F(AtTerminalTest, AHalfLineHoldsTextsBackForSecondsOnly) {
  Terminal terminal(modem.OpenTerminal());
  terminal.Type("AT+GS");
  EXPECT_EQ("AT+GS", terminal.ReadTo("GS"));
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(0, ats->SendNotification("ring 1"));
  EXPECT_EQ(0, ats->SendNotification("ring 2"));
  EXPECT_EQ("</ring 1</</ring 2</", terminal.ReadTo("2</"));
  EXPECT_GE(std::chrono::steady_clock::now() - start, kor::modem::AtTerminal::kMaxHold);
  EXPECT_EQ("N<</001010012345672</</OK</", terminal.Do("N"));
  EXPECT_EQ("kwwan\nsimulated modem\n1\nOK", modem.Type("AT+GMI;+CGMM=?;+GMM;+CGMR"));
}

TEST_F(AtTerminalTest, NobodyIsWaitedForForEver) {
  Terminal terminal(modem.OpenTerminal());
  EXPECT_EQ("ATE0<</OK</", terminal.Do("ATE0"));
  // A host that does not answer, one whose answer is lost, and one that is too late.
  modem.SetAnswerLimit(20ms);
  EXPECT_EQ("</ERROR</", terminal.Do("AT+KW;I", "ERROR</"));
  auto command = Next();
  EXPECT_NE(0, ats->SendResponse(command, true, "late\n"));
  modem.FailNext("AnswerAtCommand", 1, kor::Result{42});
  modem.SetAnswerLimit(100ms);
  terminal.Type("AT+KW\r");
  command = Next();
  EXPECT_EQ(42, ats->SendResponse(command, true, "lost\n"));
  EXPECT_EQ("</ERROR</", terminal.ReadTo("ERROR</"));
  EXPECT_EQ("ERROR", modem.Type("AT+KW;I"));
  modem.SetAnswerLimit(60s);

  // A terminal that never reads is bounded and in nobody's way; then it reads.
  for (int i = 0; i < 5000; ++i) EXPECT_EQ(0, ats->SendNotification("ring " + std::to_string(i)));
  EXPECT_EQ("+CSQ: 29,99\nOK", modem.Type("AT+CSQ"));
  const std::string shown = terminal.ReadTo("ring 4999</");
  EXPECT_EQ(0u, shown.find("</ring 0</</ring 1</"));
  EXPECT_LT(shown.size(), 60'000u);
  EXPECT_EQ("</OK</", terminal.Do("AT"));
}

TEST_F(AtTerminalTest, NamesAreRefusedByScenario) {
  const auto run = [this](const std::string& line) {
    const auto reply = kor::modem::RunScenarioLine(modem, line);
    return (reply.ok ? "ok: " : "no: ") + reply.text;
  };
  EXPECT_EQ("ok: ", run("refuse-names 2"));
  EXPECT_EQ(1, ats->RegisterCommands({"+A", "+B"}));
  EXPECT_EQ(1, ats->RegisterCommands({"+B"}));
  EXPECT_EQ("ok: +CME ERROR: 4", run("type AT+CMEE=1;+A"));
  EXPECT_EQ(0, ats->RegisterCommands({"+A", "a\nname", "", std::string(65536, 'A')}));
  EXPECT_EQ("ok: ", run("answer-limit 1"));
  EXPECT_EQ("ok: ERROR", run("type \"AT+A=\\\"x;y\\\"\""));
  EXPECT_EQ(std::vector<std::string>{"x;y"}, Next().params);
  EXPECT_EQ("no: type: LINE is missing; it takes a line of text", run("type"));
  EXPECT_EQ(0u, run("terminal").find("ok: /dev/pts/"));
  int opened = 1;  // Terminals are not without number.
  while (opened <= 16 && !modem.OpenTerminal().empty()) ++opened;
  EXPECT_LE(opened, 16);

  EXPECT_FALSE(modem.IsSoftwareReady());
  EXPECT_EQ(0, M2mQmiClient::GetInstance()->SetSoftwareReady());
  EXPECT_TRUE(modem.IsSoftwareReady());
}

}  // namespace kor::test
