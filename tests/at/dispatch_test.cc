// SPDX-License-Identifier: Apache-2.0
// From a forwarded command to its answer.
#include <stdexcept>
#include <thread>

#include "at/at_fixture.h"
#include "support/no_memory.h"

namespace kor::test {
namespace {

const std::string kServe = "7 void kor::wwan::AtService::ServeCommand(kor::wwan::AtManager::Command&) #: ";

TEST_F(AtTest, AnswersAreRenderedForTheTerminalsErrorMode) {
  CmdResponse response;
  Claim("+XY", [&](Command&) { return response; });
  at_->StartService();
  const auto answer = [&](const CmdResponse& handlers, int32_t cmee) {
    response = handlers;
    AtClient::Forward(Cmd("+XY", AtManager::kOpPlain, {}, cmee));
    return AtClient::answers.Take(1).at(0).substr(4);
  };
  EXPECT_EQ("OK ", answer(Ok(), 1));
  EXPECT_EQ("OK 1,2\n", answer(Ok("1,2"), 0));
  EXPECT_EQ("OK a\nb\n\n", answer(Ok("a\nb\n"), 2));
  for (const int32_t cmee : {-1, 0, 3}) EXPECT_EQ("ERROR ", answer(Failed(3), cmee));
  for (const int32_t cmee : {1, 2}) EXPECT_EQ("ERROR ", answer(Failed(-1), cmee));
  const std::pair<int, const char*> texts[] = {{0, "phone failure"}, {321, "Call state error"}, {-2, ""}, {322, ""}};
  for (const auto& [code, text] : texts) {
    EXPECT_EQ("ERROR +CME ERROR: " + std::to_string(code) + "\n", answer(Failed(code), 1));
    EXPECT_EQ(std::string("ERROR +CME ERROR: ") + text + "\n", answer(Failed(code), 2));
  }
}

TEST_F(AtTest, EveryCommandLeavesItsTraceAndOnlyRealOnesAreDispatched) {
  Record served;
  Claim("+XY", [&](Command& cmd) {
    served.Add(cmd.name + " " + std::to_string(cmd.op) + " " + std::to_string(cmd.params.size()));
    return Ok();
  });
  Claim("+low");  // Out of reach: names are upper-cased first.
  Claim("+EMPTY", nullptr);
  at_->StartService();
  AtClient::requests.Take(1);
  const struct {
    Command cmd;
    const char* received;
    std::string answer;
  } cases[] = {{Cmd("+xy", 3), "AT+XY=", "OK"},
               {Cmd("+XY", 3, {"a,b", ""}), "AT+XY=a,b,", "OK"},
               {Cmd("+Xy", 4), "AT+XY=?", "OK"},
               {Cmd("+XY", 2), "AT+XY?", "OK"},
               {Cmd("+XY", 77, {"1"}), "AT+XY", "OK"},
               {Cmd("+XY", 0), "AT+XY", "ERROR"},
               {Command{}, "AT", "ERROR"}};
  for (const auto& c : cases) {
    log_.Take();
    AtClient::Forward(c.cmd);
    EXPECT_EQ(c.answer, AtClient::answers.Take(1).at(0).substr(c.cmd.name.size() + 1, c.answer.size()));
    EXPECT_EQ((Lines{kServe + "RECV " + c.received + "\n", kServe + "SEND [" + c.answer + "]\n"}),
              log_.TakeWith("ServeCommand"));
  }
  EXPECT_EQ((Lines{"+XY 3 0", "+XY 3 2", "+XY 4 0", "+XY 2 0", "+XY 77 1"}), served.Take(5));

  // Nobody's commands: a name not claimed, one that is only the beginning of one, one spelled out of reach, an empty
  // handler.
  log_.Take();
  for (const char* name : {"+NO", "+X", "+low", "+EMPTY"}) AtClient::Forward(Cmd(name, 2, {}, 1));
  EXPECT_EQ((Lines{"+NO ERROR ", "+X ERROR ", "+LOW ERROR ", "+EMPTY ERROR "}), AtClient::answers.Take(4));
  const std::string handle =
      "4 kor::wwan::AtManager::CmdResponse kor::wwan::AtService::HandleAtCommand(kor::wwan::AtManager::Command&) #: ";
  EXPECT_EQ(4u, log_.TakeWith(handle + "No callback for +").size());

  // An event without a record is a command without a name; other events are none.
  AtClient::Publish(0x301, nullptr);
  EXPECT_EQ(Lines{" ERROR "}, AtClient::answers.Take(1));
  at_->StopService();
  Command cmd = Cmd("+XY");
  for (const uint32_t event : {0u, 0x300u, 0x302u, 0x303u}) AtClient::Publish(event, &cmd);
  EXPECT_EQ(std::vector<int32_t>{}, AtServicePeer::QueuedTypes());
}

TEST_F(AtTest, AfterSendRunsOnceTheAnswerIsOut) {
  Record steps;
  Command reset = Cmd("+reset", 3, {"p"}, 2);
  reset.client_ref = -7;
  reset.client_data = {1, 2, 3, 0xffffffff};
  AtClient::on_answer = [&](const Command& cmd, const std::string&) {
    steps.Add("answer " + cmd.name);
    if (cmd.name != "+RESET") return;
    EXPECT_EQ(-7, cmd.client_ref);  // The modem's own fields come back unchanged.
    EXPECT_EQ(reset.client_data, cmd.client_data);
  };
  Claim("+RESET", [&steps](Command&) {
    CmdResponse response = Ok();
    response.after_send_cb = [](void* arg) { static_cast<Record*>(arg)->Add("after"); };
    response.after_send_arg = &steps;
    return response;
  });
  Claim("+NEXT");
  Claim("+FAIL", [&steps](Command&) {  // A failure has its callback too.
    CmdResponse response;
    response.after_send_cb = [&steps](void* arg) { steps.Add(arg == nullptr ? "null" : "not null"); };
    return response;
  });
  for (const Command& cmd : {reset, Cmd("+NEXT"), Cmd("+FAIL")}) AtClient::Forward(cmd);
  at_->StartService();
  EXPECT_EQ((Lines{"answer +RESET", "after", "answer +NEXT", "answer +FAIL", "null"}), steps.Take(5));
  at_.reset();
}

// A client's fault must show in the log and must not cost the other commands their service.
TEST_F(AtTest, WhatClientCodeThrowsIsLoggedAndTheServiceLivesOn) {
  Claim("+THROW", [](Command&) -> CmdResponse { throw std::runtime_error("no such \"file\" %s"); });
  Claim("+ODD", [](Command&) -> CmdResponse { throw 7; });
  Claim("+AFTER", [](Command&) {
    CmdResponse response = Ok("done");
    response.after_send_cb = [](void*) { throw std::runtime_error("late"); };
    return response;
  });
  at_->RegisterCallback("+REG", nullptr, [](const std::string&, bool) { throw std::runtime_error("early"); });
  Claim("+B");
  at_->StartService();
  for (const char* name : {"+THROW", "+ODD", "+AFTER", "+B"}) AtClient::Forward(Cmd(name, 2, {}, 2));
  EXPECT_EQ((Lines{"+THROW ERROR ", "+ODD ERROR ", "+AFTER OK done\n", "+B OK "}), AtClient::answers.Take(4));
  EXPECT_EQ((Lines{"+AFTER 1", "+B 1", "+ODD 1", "+THROW 1"}), results_.Take(4));  // +REG is registered all the same.

  Lines errors;
  for (const auto& line : log_.TakeWith(" threw: "))
    errors.push_back(line.substr(0, 2) + line.substr(line.find("#: ")));
  EXPECT_EQ(
      (Lines{"3 #: Registration callback of +REG threw: early\n", "3 #: Handler of +THROW threw: no such \"file\" %s\n",
             "3 #: Handler of +ODD threw: an unknown exception\n", "3 #: After-send callback of +AFTER threw: late\n"}),
      errors);
}

TEST_F(AtTest, HandlersUseTheLibraryThemselves) {
  // One claims another name, which works from then on; another makes a manager of its own for a moment.
  Claim("+OPEN", [this](Command&) {
    Claim("+INNER", [](Command&) { return Ok("inner"); });
    return Ok();
  });
  Claim("+NOTIFY", [](Command&) {
    AtManager own;
    EXPECT_EQ(41, own.SendNotification("+HELLO"));
    EXPECT_EQ(42, own.NotifyRegistrationDone());
    return Ok();
  });
  at_->StartService();
  for (const char* name : {"+INNER", "+OPEN", "+INNER", "+NOTIFY"}) AtClient::Forward(Cmd(name));
  EXPECT_EQ((Lines{"+INNER ERROR ", "+OPEN OK ", "+INNER OK inner\n", "+NOTIFY OK "}), AtClient::answers.Take(4));
  EXPECT_EQ((Lines{"+NOTIFY 1", "+OPEN 1", "+INNER 1"}), results_.Take(3));
  EXPECT_EQ((Lines{"SendNotification +HELLO", "SetSoftwareReady"}), AtClient::others.Take(0));
  EXPECT_EQ(1, AtServicePeer::Holders());
}

TEST_F(AtTest, RubbishIsCarriedAsItIs) {
  const std::string binary("\x01\xff\r\n\x00z", 6);
  const std::string huge(64 * 1024, 'p');
  const auto echo = [](Command& cmd) {
    return Ok(std::to_string(cmd.params.size()) + " " + std::to_string(cmd.params.back().size()) + cmd.params.front());
  };
  Claim("", echo);
  Claim("+X", echo);
  Claim("\x01\xff\r\n" + std::string(1, '\0') + "Z", echo);
  for (const auto& name : {std::string(), binary, std::string("+x")}) {
    AtClient::Forward(Cmd(name, 3, {"%s%n", binary, huge}));
  }
  at_->StartService();
  const std::string text = " OK 3 65536%s%n\n";
  EXPECT_EQ((Lines{text, binary.substr(0, 5) + "Z" + text, "+X" + text}), AtClient::answers.Take(3));

  // The empty name is the beginning of every other: it goes to the modem alone, the others after it.
  Lines expected = {"", binary.substr(0, 5) + "Z +X"};
  EXPECT_EQ(expected, AtClient::requests.Take(2));
  EXPECT_EQ(2u, log_.TakeWith("is dulicated").size());
}

// The three: for the queued message, its parameters, and the one that does not fit into a string object.
TEST_F(AtTest, EveryCommandIsAnsweredOnceInOrderForThreeAllocations) {
  setlogmask(LOG_UPTO(LOG_WARNING));  // As hosts do: two debug lines a command would be all that is measured.
  constexpr int kRound = 1000;
  Command cmd = Cmd("+n", AtManager::kOpSet, {"1", "2", "longer than a short string"});
  Record rounds;
  int32_t forwarded = 0, answered = 0, out_of_order = 0;
  AtClient::on_answer = [&](const Command& of, const std::string&) {
    if (of.client_ref != answered) ++out_of_order;
    if (++answered % kRound == 0) rounds.Add("");
  };
  const auto forward = [&](size_t count) {
    for (size_t i = 0; i < count * kRound; ++i) {
      cmd.client_ref = forwarded++;
      AtClient::Publish(0x301, &cmd);
    }
  };
  Claim("+N");
  forward(100);  // For the next run.
  at_->StartService();
  ASSERT_EQ(100u, rounds.Take(100).size());
  const long before = Allocations();
  forward(1);
  ASSERT_EQ(1u, rounds.Take(1).size());
  EXPECT_LE(Allocations() - before, 3 * kRound + 10);  // Ten for the record of the round.

  // Starts and stops on other threads lose none.
  const auto repeat = [&](int (AtManager::*operation)()) {
    for (int i = 0; i < 25; ++i) (at_.get()->*operation)();
  };
  std::thread others[] = {std::thread(repeat, &AtManager::StopService), std::thread(repeat, &AtManager::StartService),
                          std::thread(repeat, &AtManager::StartService)};
  forward(20);
  for (auto& thread : others) thread.join();
  at_->StartService();
  ASSERT_EQ(20u, rounds.Take(20).size());
  at_.reset();
  EXPECT_EQ(forwarded, answered);
  EXPECT_EQ(0, out_of_order);
}

}  // namespace
}  // namespace kor::test
