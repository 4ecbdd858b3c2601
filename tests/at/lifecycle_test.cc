// SPDX-License-Identifier: Apache-2.0
// Starts, stops, and the coming and going of managers.
#include <future>

#include "at/at_fixture.h"
#include "support/files.h"
#include "support/story.h"
#include "support/wait.h"

namespace kor::test {
namespace {

using kor::wwan::AtService;
using kor::wwan::kMsgAtCommand;

// A handler that tells that it runs and waits to be let go.
struct Gate {
  CmdResponse operator()(Command&) const {
    entered->set_value();
    leave.wait_for(kLongEnough);
    return Ok();
  }
  std::shared_ptr<std::promise<void>> entered = std::make_shared<std::promise<void>>();
  std::shared_ptr<std::promise<void>> let_go = std::make_shared<std::promise<void>>();
  std::shared_future<void> leave = let_go->get_future().share();
};

// Ends the last manager while its handler runs, which goes on when the service has been told to stop: until then the
// next command may be served too.
void EndInside(const Gate& gate, std::unique_ptr<AtManager> last) {
  const AtService* const service = AtService::s_ins_;
  ASSERT_EQ(std::future_status::ready, gate.entered->get_future().wait_for(kLongEnough));
  auto end = std::async(std::launch::async, [&] { last.reset(); });
  ASSERT_TRUE(Eventually([service] { return !AtServicePeer::IsRunning(service); }));
  gate.let_go->set_value();
  ASSERT_EQ(std::future_status::ready, end.wait_for(kLongEnough));
}

// Regression: a stop message that the thread had not come to used to end the next run at once.
TEST_F(AtTest, AStopKeepsWhatIsQueuedAndEndsNoLaterRun) {
  EXPECT_EQ(0, at_->StopService());  // Never started: nothing happens.
  const Gate gate;
  Claim("+GATE", gate);
  Claim("+N");
  AtClient::Forward(Cmd("+GATE"));
  EXPECT_EQ(0, at_->StartService());
  ASSERT_EQ(std::future_status::ready, gate.entered->get_future().wait_for(kLongEnough));

  // The stop is asked for while a handler runs; it waits for that one and no other.
  for (const char* name : {"+N", "+N1", "+N2"}) AtClient::Forward(Cmd(name));
  auto stop = std::async(std::launch::async, [&] { return at_->StopService(); });
  ASSERT_TRUE(Eventually([] { return !AtServicePeer::IsRunning(); }));
  ASSERT_TRUE(Eventually([] { return AtServicePeer::QueuedTypes().back() == kor::wwan::kMsgStop; }));
  AtClient::Forward(Cmd("+N3"));
  gate.let_go->set_value();
  ASSERT_EQ(std::future_status::ready, stop.wait_for(kLongEnough));
  EXPECT_EQ(0, stop.get());
  EXPECT_EQ(Lines{"+GATE OK "}, AtClient::answers.Take(1));
  EXPECT_EQ(std::vector<int32_t>(4, kMsgAtCommand), AtServicePeer::QueuedTypes());

  // The next run serves them, and what came before it, in order; a second start makes no second thread.
  Claim("+M");
  AtClient::Forward(Cmd("+M"));
  (void)log_.Take();
  at_->StartService();
  at_->StartService();
  EXPECT_EQ((Lines{"+N OK ", "+N1 ERROR ", "+N2 ERROR ", "+N3 ERROR ", "+M OK "}), AtClient::answers.Take(5));
  EXPECT_EQ((Lines{"+GATE 1", "+N 1", "+M 1"}), results_.Take(3));
  EXPECT_EQ(1u, log_.TakeWith("7 void kor::wwan::AtService::ThreadLoop() #: TID [").size());
  EXPECT_NE(std::string::npos, ReadFile("/dev/kmsg").find("void kor::wwan::AtService::ThreadLoop() "));
  at_->StopService();
  EXPECT_EQ(std::vector<int32_t>{}, AtServicePeer::QueuedTypes());
}

TEST_F(AtTest, ManagersShareOneServiceAndTheLastOneEndsIt) {
  auto other = std::make_unique<AtManager>();
  EXPECT_EQ(2, AtServicePeer::Holders());
  Claim("+XY");
  other->StartService();
  EXPECT_EQ("+XY OK ", Ask("+XY"));

  // One going leaves the service running for the other.
  at_.reset();
  const std::string console = ReadFile("/dev/kmsg");
  EXPECT_NE(std::string::npos, console.find("int kor::wwan::AtService::ReleaseInstance() ")) << console;
  EXPECT_NE(std::string::npos, console.find(": ref_cnt 1\n"));
  EXPECT_EQ("+XY OK ", Ask("+XY"));
  EXPECT_EQ(2, AtClient::holders());  // The manager and the service.

  // The last one stops it in the midst of its work. What it did not come to is dropped; nothing reaches it any more.
  const Gate gate;
  other->RegisterCallback("+GATE", gate, nullptr);
  for (const char* name : {"+GATE", "+XY", "+XY"}) AtClient::Forward(Cmd(name));
  EndInside(gate, std::move(other));
  EXPECT_EQ("+GATE OK ", Ask("+XY"));
  EXPECT_EQ(nullptr, AtService::s_ins_);
  EXPECT_EQ(0, AtClient::holders() + AtClient::subscribers());

  // The next one starts from nothing.
  AtManager next;
  next.StartService();
  EXPECT_EQ("+XY ERROR ", Ask("+XY"));
}

// Regression: a handler's own manager can turn out to be the last; its end used to join the thread it ran on.
TEST_F(AtTest, TheLastManagerMayGoInsideAHandler) {
  const Gate gate;
  auto outer = std::make_unique<AtManager>();
  at_.reset();
  outer->RegisterCallback(
      "+LAST",
      [&](Command& cmd) {
        const auto own = std::make_unique<AtManager>();
        (void)gate(cmd);
        if (!kor::util::lock_order::kChecked) own->StopService();
        own->StartService();
        return Ok();
      },
      nullptr);
  outer->StartService();
  AtClient::Forward(Cmd("+LAST"));
  ASSERT_EQ(std::future_status::ready, gate.entered->get_future().wait_for(kLongEnough));
  outer.reset();
  gate.let_go->set_value();
  EXPECT_EQ(Lines{"+LAST OK "}, AtClient::answers.Take(1));
  EXPECT_TRUE(Eventually([] { return AtClient::holders() == 0; }));
  EXPECT_EQ(nullptr, AtService::s_ins_);
}

// Regression: the thread of a service that was being destroyed counted as the next one's too, which then did not start.
TEST_F(AtTest, AHandlersManagersWhileTheLastOtherOneGoesAreOfTheNextService) {
  const Gate gate;
  std::unique_ptr<AtManager> next;
  Claim("+GATE", [&](Command& cmd) {
    (void)gate(cmd);
    AtManager().StartService();  // A service with a thread of its own, gone at once.
    EXPECT_EQ(2, AtClient::holders());
    next = std::make_unique<AtManager>();
    next->RegisterCallback(
        "+NEXT", [](Command&) { return Ok(); }, nullptr);
    next->StartService();
    return Ok();
  });
  at_->StartService();
  AtClient::Forward(Cmd("+GATE"));
  EndInside(gate, std::move(at_));
  AtClient::Forward(Cmd("+NEXT"));
  EXPECT_EQ((Lines{"+GATE OK ", "+NEXT OK "}), AtClient::answers.Take(2));
  next.reset();
  EXPECT_EQ(0, AtClient::holders());
}

// Regression: the thread that had ended was not joined before the next one was put in its place.
TEST_F(AtTest, ARunThatAnyStopMessageEndsIsFollowedByAnother) {
  Claim("+N");
  const auto serve_and_end = [&] {
    at_->StartService();
    AtClient::Forward(Cmd("+N"));
    EXPECT_EQ(Lines{"+N OK "}, AtClient::answers.Take(1));
    for (int i = 0; i < 2; ++i) AtService::s_ins_->PushMsg({kor::wwan::kMsgStop, {}});
    EXPECT_TRUE(Eventually([] { return !AtServicePeer::IsRunning(); }));
  };
  serve_and_end();
  EXPECT_EQ(0, at_->StopService());
  serve_and_end();
  serve_and_end();
  at_.reset();
}

TEST_F(AtTest, TheRetryTimerMayFireAtAnyMomentOfTheEnd) {
  at_.reset();
  AtClient::on_request = [](const std::list<std::string>&) { return 1; };
  Dice dice(Setting("KWWAN_STORY_SEED", 6));
  for (unsigned i = 0; i < Setting("KWWAN_CYCLES", 300); ++i) {
    AtManager at;
    AtServicePeer::SetInterval(std::chrono::microseconds(1 + dice.Below(300)));
    at.RegisterCallback("+R", nullptr, nullptr);
    at.StartService();
    dice.Dally(std::chrono::microseconds(600));
    if (dice.OneIn(2)) at.StopService();
  }
  EXPECT_EQ(0, AtClient::holders());
}

}  // namespace
}  // namespace kor::test
