// SPDX-License-Identifier: Apache-2.0
// From a terminal program to a handler and back, through the public API and a pty.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <list>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "simulator/sim_modem.h"
#include "support/syslog_reader.h"
#include "support/terminal.h"
#include "wwan/at_manager.h"

namespace kor::test {
namespace {

using namespace std::chrono_literals;
using kor::modem::SimModem;
using kor::wwan::AtManager;
using Command = AtManager::Command;
using CmdResponse = AtManager::CmdResponse;
using Handler = std::function<CmdResponse(Command&)>;

CmdResponse Ok(const std::string& text) {
  CmdResponse response;
  response.result = true;
  response.response = text;
  return response;
}

class AtEndToEndTest : public testing::Test {
 protected:
  AtEndToEndTest() {
    EXPECT_EQ("ATE0<</OK</", one.Do("ATE0"));
    EXPECT_EQ("ATE0+CMEE=2<</OK</", two.Do("ATE0+CMEE=2"));
    modem.SetRecording(true);
  }
  ~AtEndToEndTest() override { at.StopService(); }

  void Claim(const std::string& name, Handler handler) {
    std::promise<bool>& outcome = outcomes.emplace_back();
    at.RegisterCallback(name, std::move(handler), [&outcome](std::string, bool ok) { outcome.set_value(ok); });
  }

  // Starts the service and waits for the outcome of every claim: "101", a digit for each.
  std::string Start() {
    at.StartService();
    std::string text;
    for (auto& outcome : outcomes) {
      std::future<bool> known = outcome.get_future();
      if (known.wait_for(kLongEnough) != std::future_status::ready) return text + "?";
      text += known.get() ? '1' : '0';
    }
    outcomes.clear();
    return text;
  }

  SimModem& modem = SimModem::Get();
  Terminal one{modem.OpenTerminal()};
  Terminal two{modem.OpenTerminal()};
  std::list<std::promise<bool>> outcomes;
  AtManager at;
};

TEST_F(AtEndToEndTest, NamesThatExtendEachOtherEachReachTheirOwnHandler) {
  for (const char* name : {"+KWAB", "+KW", "+KWA"}) {
    Claim(name, [](Command& cmd) { return Ok(cmd.name + ":" + std::to_string(cmd.params.size())); });
  }
  EXPECT_EQ("111", Start());
  EXPECT_EQ((std::vector<std::string>{"RegisterAtNames +KW", "RegisterAtNames +KWA", "RegisterAtNames +KWAB"}),
            modem.TakeRecord());
  EXPECT_EQ(0, at.NotifyRegistrationDone());
  EXPECT_TRUE(modem.IsSoftwareReady());
  EXPECT_EQ("</+KWA:0</</+KWAB:2</</+KW:1</</OK</", one.Do("at+kwa;+KWAB=\"a,b\",;+KW=1"));
  EXPECT_EQ("</ERROR</", one.Do("AT+KWABC", "ERROR</"));
}

TEST_F(AtEndToEndTest, ASlowHandlerHoldsUpTheOthersAndNothingCutsIntoItsAnswer) {
  std::promise<void> begun;
  std::promise<void> go_on;
  Claim("+KWSLOW", [&](Command&) {
    begun.set_value();
    go_on.get_future().wait_for(kLongEnough);
    return Ok("slow\ndone");
  });
  Claim("+KWFAST", [](Command& cmd) { return Ok("fast " + cmd.params.at(0)); });
  EXPECT_EQ("11", Start());
  one.Type("AT+KWSLOW\r");
  ASSERT_EQ(std::future_status::ready, begun.get_future().wait_for(kLongEnough));
  two.Do("ATE1");
  EXPECT_EQ("AT+KWFAST=1;+KWFAST=2<", two.Do("AT+KWFAST=1;+KWFAST=2", "2<"));  // Its echo: the modem has it.
  EXPECT_EQ(0, at.SendNotification("+KWALARM: 1"));
  EXPECT_EQ("+CSQ: 29,99\nOK", modem.Type("AT+CSQ"));  // What the modem answers itself waits for nobody.
  go_on.set_value();
  EXPECT_EQ("</slow</done</</OK</</+KWALARM: 1</", one.ReadTo("1</"));
  EXPECT_EQ("</fast 1</</fast 2</</OK</</+KWALARM: 1</", two.ReadTo("ALARM: 1</"));
}

TEST_F(AtEndToEndTest, FailuresAreShownInTheTerminalsModeAndEndNothing) {
  Claim("+KWBAD", [](Command&) -> CmdResponse { throw std::runtime_error("no such thing"); });
  Claim("+KWNO", [](Command&) {
    CmdResponse response;
    response.cme_error = AtManager::CmeeErrorCode::kOperationNotAllowed;
    return response;
  });
  Claim("+KWBIG", [](Command& cmd) { return Ok(cmd.params.at(0) + std::string(65536, 'x')); });
  EXPECT_EQ("111", Start());
  EXPECT_EQ("</ERROR</", one.Do("AT+KWNO;I", "ERROR</"));
  EXPECT_EQ("</+CME ERROR: operation not allowed</", two.Do("AT+KWNO;I", "allowed</"));
  EXPECT_EQ("</+CME ERROR: 3</", one.Do("AT+CMEE=1;+KWNO;I", "3</"));
  SyslogReader log;
  EXPECT_EQ("</ERROR</", two.Do("AT+KWBAD;I", "ERROR</"));
  EXPECT_EQ(1u, log.TakeWith("no such thing").size());
  EXPECT_EQ(65536u + 2010, one.Do("AT+KWBIG=" + std::string(2000, 'y')).size());

  // A service that is not there any more: the terminal waits no longer than its limit.
  at.StopService();
  modem.SetAnswerLimit(20ms);
  EXPECT_EQ("</ERROR</", two.Do("AT+KWNO", "ERROR</"));
}

}  // namespace
}  // namespace kor::test
