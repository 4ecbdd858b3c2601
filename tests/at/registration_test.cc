// SPDX-License-Identifier: Apache-2.0
// Registration of names with the modem, paced by the real timer.
#include <algorithm>
#include <atomic>
#include <future>

#include "at/at_fixture.h"
#include "support/wait.h"

namespace kor::test {
namespace {

using Names = std::list<std::string>;

// From the field: a name that extends another one was taken for it by the modem when both came in one request.
TEST_F(AtTest, AnExtensionNeverGoesWithTheNameThatItExtends) {
  for (const char* name : {"+ABCD", "+AB", "+AC", "+ABC", "+ABX", "+B", "+AB\xff"}) Claim(name);
  at_->StartService();
  EXPECT_EQ((Lines{"+AB +AC +B", "+ABC +ABX +AB\xff", "+ABCD"}), AtClient::requests.Take(3));
  EXPECT_EQ(
      "4 void kor::wwan::AtService::RegisterPending() #: [+AB] and [+ABC] is dulicated if compared with size [3]\n",
      log_.TakeWith("is dulicated").at(0));

  // The edge of a batch: the twentieth name ends the walk before its extensions are looked at.
  at_.reset();
  at_ = std::make_unique<AtManager>();
  for (int i = 0; i < 19; ++i) Claim(Numbered(i));
  for (const char* name : {"+ZABC", "+ZAB", "+ZA", "+ZZ"}) Claim(name);
  at_->StartService();
  Lines requests = AtClient::requests.Take(3);
  requests.at(0) = requests.at(0).substr(requests.at(0).size() - 9);
  EXPECT_EQ((Lines{"+N018 +ZA", "+ZAB +ZZ", "+ZABC"}), requests);
  EXPECT_EQ(1u, log_.TakeWith("[+ZAB] and [+ZABC] is dulicated").size());
}

TEST_F(AtTest, ARefusedNameIsGivenUpAfterSixRequestsAndMayBeClaimedAnew) {
  AtClient::on_request = [](const Names& names) { return names.front() == "+GOOD" ? 0 : 5; };
  AtServicePeer::SetInterval(5ms);
  Claim("+BB");
  Claim("+BBX");  // Held back while +BB is tried: that costs it nothing.
  Claim("+BA");
  at_->StartService();
  EXPECT_EQ((Lines{"+BA 0", "+BB 0", "+BBX 0"}), results_.Take(3));
  Lines expected(12, "+BBX");
  std::fill_n(expected.begin(), 6, "+BA +BB");
  EXPECT_EQ(expected, AtClient::requests.Take(12));

  // The handler is gone with the claim, until there is a new one with new tries.
  EXPECT_EQ("+BB ERROR ", Ask("+BB"));
  Claim("+BB");
  EXPECT_EQ(Lines{"+BB 0"}, results_.Take(1));
  EXPECT_EQ(6u, AtClient::requests.Take(6).size());

  // Others are served meanwhile; nothing is left to do after that.
  Claim("+GOOD");
  EXPECT_EQ(Lines{"+GOOD 1"}, results_.Take(1));
  EXPECT_EQ("+GOOD OK ", Ask("+GOOD"));
  EXPECT_EQ(Lines{"+GOOD"}, AtClient::requests.Take(1));
}

TEST_F(AtTest, AClaimWaitsWhileTheModemIsAsked) {
  std::promise<std::future<int>> made;
  AtClient::on_request = [&](const Names& names) {
    if (names.front() != "+A") return 0;
    auto claim = std::async(std::launch::async, [this] { return at_->RegisterCallback("+B", nullptr, nullptr); });
    EXPECT_EQ(std::future_status::timeout, claim.wait_for(50ms));
    made.set_value(std::move(claim));
    return 0;
  };
  Claim("+A");
  at_->StartService();
  EXPECT_EQ((Lines{"+A", "+B"}), AtClient::requests.Take(2));
  auto claim = made.get_future();
  ASSERT_EQ(std::future_status::ready, claim.wait_for(kLongEnough));
  EXPECT_EQ(0, claim.get().get());
  at_.reset();
}

TEST_F(AtTest, ASecondClaimReplacesTheCallablesAndNothingElse) {
  std::atomic<int> answer{1};
  AtClient::on_request = [&](const Names&) { return answer.load(); };
  AtServicePeer::SetInterval(150ms);
  Record second;
  const auto claim_again = [&](const std::string& name) {
    at_->RegisterCallback(
        name, [](Command&) { return Ok("second"); },
        [&](const std::string& of, bool accepted) { second.Add(of + (accepted ? " 1" : " 0")); });
  };
  // In the middle of its tries: they go on, and their end is reported to the new owner.
  Claim("+XY");
  at_->StartService();
  size_t requests = AtClient::requests.Take(2).size();
  claim_again("+XY");
  EXPECT_EQ(Lines{"+XY 0"}, second.Take(1));
  requests += AtClient::requests.Take(0).size();
  EXPECT_EQ(6u, requests);

  // When it is registered: no pass follows, the new handler serves.
  answer = 0;
  Claim("+XY");
  EXPECT_EQ(Lines{"+XY 1"}, results_.Take(1));
  at_->StopService();
  const auto queued = AtServicePeer::QueuedTypes();
  claim_again("+XY");
  EXPECT_EQ(queued, AtServicePeer::QueuedTypes());
  at_->StartService();
  EXPECT_EQ("+XY OK second\n", Ask("+XY"));

  // Empty callables replace others too. Names are told apart by case.
  at_->RegisterCallback("+XY", nullptr, nullptr);
  claim_again("+xy");
  EXPECT_EQ(Lines{"+xy 1"}, second.Take(1));
  EXPECT_EQ("+XY ERROR ", Ask("+xy"));
  EXPECT_EQ((Lines{"+XY", "+xy"}), AtClient::requests.Take(2));
  EXPECT_EQ(Lines{}, results_.Take(0));
  EXPECT_EQ(0, at_->ReleaseCommands());
}

}  // namespace
}  // namespace kor::test
