// SPDX-License-Identifier: Apache-2.0
// What becomes of the service when there is no memory: an operation is done whole or not at all, and the service thread
// lives on.
#include <new>
#include <optional>

#include "at/at_fixture.h"
#include "support/no_memory.h"
#include "support/wait.h"

namespace kor::test {
namespace {

using kor::wwan::AtService;
using Names = std::list<std::string>;

// Regression: a manager that could not be made kept the AT client, a claim that failed was never brought to the modem,
// a start that failed counted as one, and a stop that failed left a thread that nothing joined.
TEST_F(AtTest, WhatFailsForWantOfMemoryChangesNothing) {
  at_.reset();
  const auto make = [this](int left) {
    const NoMemory none(left);
    at_ = std::make_unique<AtManager>();
  };
  EXPECT_LT(5, FailUntilThereIsMemory(make, [] {
              EXPECT_EQ(0, AtClient::holders());
              EXPECT_EQ(0, AtServicePeer::Holders());
              EXPECT_EQ(nullptr, AtService::s_ins_);
            }));

  const std::string name = "+A NAME TOO LONG FOR A STRING OBJECT";
  const auto claim = [&](int left) {
    std::string argument = name;
    std::function<CmdResponse(Command&)> handler = [](Command&) { return Ok(); };
    const NoMemory none(left);
    at_->RegisterCallback(std::move(argument), std::move(handler), nullptr);
  };
  EXPECT_LT(2, FailUntilThereIsMemory(claim, [] { EXPECT_EQ(0u, AtServicePeer::QueuedTypes().size()); }));
  EXPECT_EQ(1u, AtServicePeer::QueuedTypes().size());

  const auto start = [this](int left) {
    const NoMemory none(left);
    at_->StartService();
  };
  EXPECT_LT(1, FailUntilThereIsMemory(start, [] { EXPECT_FALSE(AtServicePeer::IsRunning()); }));
  EXPECT_EQ(Lines{name}, AtClient::requests.Take(1));
  EXPECT_EQ(name + " OK ", Ask(name));

  // To stop takes no memory, nor does the last manager's end.
  {
    const NoMemory none;
    at_->StopService();
  }
  at_->StartService();
  {
    const NoMemory none;
    at_.reset();
  }
  EXPECT_EQ(0, AtClient::holders());
}

// The service thread runs out of memory at +OUT and has it again at +IN.
class ThreadWithoutMemoryTest : public AtTest {
 protected:
  ThreadWithoutMemoryTest() {
    AtClient::on_answer = [this](const Command& cmd, const std::string& text) {
      if (!none_) AtClient::answers.Add(cmd.name + " " + text);
    };
    Claim("+OUT", [this](Command&) {
      none_.emplace();
      return Ok();
    });
    Claim("+IN", [this](Command&) {
      none_.reset();
      return Ok();
    });
    at_->StartService();
    EXPECT_EQ(2u, results_.Take(2).size());
    EXPECT_EQ(Lines{"+IN +OUT"}, AtClient::requests.Take(1));
    EXPECT_EQ("+IN ", Ask("+IN"));  // The pass that the second claim asked for is over: it finds no later name.
  }
  ~ThreadWithoutMemoryTest() override { at_.reset(); }

  std::optional<NoMemory> none_;  // On the service thread only.
};

TEST_F(ThreadWithoutMemoryTest, NoPassAndNoThreadsEndIsLostForGood) {
  AtClient::Forward(Cmd("+OUT"));
  Claim("+R");
  EXPECT_EQ("+IN ", Ask("+IN"));
  EXPECT_EQ(2u, log_.TakeWith(" of names threw: std::bad_alloc\n").size());  // The pass, and asking for another.
  Claim("+S");
  EXPECT_EQ(Lines{"+R +S"}, AtClient::requests.Take(1));
  EXPECT_EQ((Lines{"+R 1", "+S 1"}), results_.Take(2));

  AtClient::Forward(Cmd("+OUT"));
  ASSERT_TRUE(Eventually([] { return AtServicePeer::QueuedTypes().empty(); }));
  at_->StopService();
  EXPECT_EQ(1u, log_.TakeWith("Release of names threw: std::bad_alloc\n").size());
}

TEST_F(ThreadWithoutMemoryTest, AnAnswerWithoutRoomForItsTextIsAFailure) {
  const std::string text(100, 'x');
  Claim("+LONG", [&](Command&) {
    CmdResponse response = Ok(text);
    response.after_send_cb = [](void*) { AtClient::others.Add("after"); };
    none_.emplace();
    return response;
  });
  at_->StopService();
  AtClient::on_answer = [&](const Command& cmd, const std::string& shown) {
    none_.reset();
    AtClient::answers.Add(cmd.name + " [" + shown + "]");
  };
  at_->StartService();
  EXPECT_EQ("+LONG []", Ask("+LONG"));
  EXPECT_EQ(Lines{"after"}, AtClient::others.Take(1));
}

// Regression: there was no room to note that a name had been given up.
TEST_F(ThreadWithoutMemoryTest, WhatTheModemHasAnsweredIsNoted) {
  std::atomic<int> asked{0}, given_up{0};
  at_->StopService();
  AtClient::on_request = [&](const Names&) {
    if (++asked == 6) none_.emplace();
    return asked > 6 ? 0 : 1;
  };
  AtServicePeer::SetInterval(1ms);
  at_->StartService();
  const std::string name = "+REFUSED,WITHOUT,ROOM,IN,THE,STRING";
  at_->RegisterCallback(name, nullptr, [&](const std::string& refused, bool accepted) {
    given_up += accepted || refused != name ? 100 : 1;
  });
  ASSERT_TRUE(Eventually([&] { return given_up == 1; }));
  EXPECT_EQ("+IN ", Ask("+IN"));
  Claim(name);
  EXPECT_EQ(Lines{name + " 1"}, results_.Take(1));
}

// A handler ends the last manager, and there is no thread to destroy the service on.
TEST_F(AtTest, AServiceThatNothingCanDestroyIsLeftBehind) {
  Claim("+LAST", [this](Command&) {
    const NoMemory none;
    at_.reset();
    return Ok();
  });
  at_->StartService();
  EXPECT_EQ("+LAST OK ", Ask("+LAST"));
  EXPECT_EQ(1u, log_.TakeWith("Cannot destroy the AT service: std::bad_alloc\n").size());
}

}  // namespace
}  // namespace kor::test
