// SPDX-License-Identifier: Apache-2.0
// Registration of names with the modem, paced by the real timer.
#include <algorithm>
#include <atomic>
#include <future>
#include <regex>

#include "at/at_fixture.h"
#include "support/wait.h"

namespace kor::test {
namespace {

using Clock = std::chrono::steady_clock;
using Names = std::list<std::string>;

std::string Numbered(int i) {
  char name[16];
  snprintf(name, sizeof(name), "+N%03d", i);
  return name;
}

// The lines of the passes without their signatures, times as "T".
Lines PassLines(SyslogReader& log) {
  static const std::regex time("(diff_us \\[|time_us )\\d+");
  Lines lines;
  for (const auto& line : log.Take()) {
    const bool of_pass = line.find("AtService::RegisterPending()") != std::string::npos ||
                         line.find("AtService::ScheduleNextPass()") != std::string::npos;
    if (of_pass)
      lines.push_back(line.substr(0, 2) + std::regex_replace(line.substr(line.find("#: ") + 3), time, "$1T"));
  }
  return lines;
}

TEST_F(AtTest, NamesClaimedBeforeTheStartGoInBatches) {
  Lines expected(3);
  for (int i = 44; i >= 0; --i) Claim(Numbered(i));
  for (int i = 0; i < 45; ++i) expected[static_cast<size_t>(i / 20)] += (i % 20 == 0 ? "" : " ") + Numbered(i);
  EXPECT_EQ(std::vector<int32_t>(45, kor::wwan::kMsgRegister), AtServicePeer::QueuedTypes());
  AtServicePeer::SetInterval(300ms);
  const auto start = Clock::now();
  at_->StartService();
  EXPECT_EQ(expected, AtClient::requests.Take(3));
  Lines results = results_.Take(45);
  ASSERT_EQ(45u, results.size());
  EXPECT_TRUE(std::is_sorted(results.begin(), results.end()));
  EXPECT_EQ("+N000 1", results.front());

  // 45 claims, one more pass queued by the first and one by the timer that the second set.
  EXPECT_NE(-1, AtServicePeer::TimerId());
  Lines lines;
  const auto idle_passes = [&] {
    for (const auto& line : PassLines(log_)) lines.push_back(line);
    return std::count(lines.begin(), lines.end(), "7 No more lists to register");
  };
  ASSERT_TRUE(Eventually([&] { return idle_passes() == 44; }));
  EXPECT_GE(Clock::now() - start, 300ms);
  EXPECT_EQ(-1, AtServicePeer::TimerId());
  EXPECT_EQ(
      (Lines{"7 reg_candidate_l size [20]\n", "7 try_more: [1]\n", "7 diff_us [T]\n", "7 reg_candidate_l size [20]\n",
             "7 try_more: [1]\n", "7 diff_us [T]\n", "7 Start Timer time_us T\n", "7 reg_candidate_l size [5]\n",
             "7 try_more: [0]\n", "7 reg_candidate_l size [0]\n", "7 No more lists to register"}),
      Lines(lines.begin(), lines.begin() + 11));
  EXPECT_EQ(9u + 2 * 44, lines.size());
}

// From the field: a name that extends another one was taken for it by the modem when both came in one request.
TEST_F(AtTest, AnExtensionNeverGoesWithTheNameThatItExtends) {
  for (const char* name : {"+ABCD", "+AB", "+AC", "+ABC", "+ABX", "+B", "+AB\xff"}) Claim(name);
  at_->StartService();
  EXPECT_EQ((Lines{"+AB +AC +B", "+ABC +ABX +AB\xff", "+ABCD"}), AtClient::requests.Take(3));
  const Lines warnings = log_.TakeWith("is dulicated");
  ASSERT_EQ(5u, warnings.size());
  EXPECT_EQ(
      "4 void kor::wwan::AtService::RegisterPending() #: [+AB] and [+ABC] is dulicated if compared with size [3]\n",
      warnings[0]);

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
  constexpr auto kInterval = 40ms;
  std::vector<Clock::time_point> times;
  AtClient::on_request = [&](const Names& names) {
    times.push_back(Clock::now());
    return names.front() == "+GOOD" ? 0 : 5;
  };
  AtServicePeer::SetInterval(kInterval);
  Claim("+BB");
  Claim("+BBX");  // Held back while +BB is tried: that costs it nothing.
  Claim("+BA");
  at_->StartService();
  EXPECT_EQ((Lines{"+BA 0", "+BB 0", "+BBX 0"}), results_.Take(3));
  Lines expected(12, "+BBX");
  std::fill_n(expected.begin(), 6, "+BA +BB");
  EXPECT_EQ(expected, AtClient::requests.Take(12));

  // Three claims and the first pass's own message make four passes at once; from then on they are spaced.
  ASSERT_EQ(12u, times.size());
  EXPECT_GE(times[4] - times[0], kInterval);
  for (size_t i = 5; i < times.size(); ++i) EXPECT_GE(times[i] - times[i - 2], kInterval) << i;

  // The handler is gone with the claim, until there is a new one with new tries.
  AtClient::Forward(Cmd("+BB"));
  EXPECT_EQ(Lines{"+BB ERROR "}, AtClient::answers.Take(1));
  Claim("+BB");
  EXPECT_EQ(Lines{"+BB 0"}, results_.Take(1));
  EXPECT_EQ(6u, AtClient::requests.Take(6).size());

  // Others are served meanwhile; nothing is left to do after that.
  Claim("+GOOD");
  EXPECT_EQ(Lines{"+GOOD 1"}, results_.Take(1));
  AtClient::Forward(Cmd("+GOOD"));
  EXPECT_EQ(Lines{"+GOOD OK "}, AtClient::answers.Take(1));
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
  EXPECT_EQ(0, made.get_future().get().get());
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
  AtClient::Forward(Cmd("+XY"));
  EXPECT_EQ(Lines{"+XY OK second\n"}, AtClient::answers.Take(1));

  // Empty callables replace others too. Names are told apart by case.
  at_->RegisterCallback("+XY", nullptr, nullptr);
  claim_again("+xy");
  EXPECT_EQ(Lines{"+xy 1"}, second.Take(1));
  AtClient::Forward(Cmd("+xy"));
  EXPECT_EQ(Lines{"+XY ERROR "}, AtClient::answers.Take(1));
  EXPECT_EQ((Lines{"+XY", "+xy"}), AtClient::requests.Take(2));
  EXPECT_EQ(Lines{}, results_.Take(0));
  EXPECT_EQ(0, at_->ReleaseCommands());
}

}  // namespace
}  // namespace kor::test
