// SPDX-License-Identifier: Apache-2.0
// Many commands, many names: nothing is lost, and the cost stays what it should be.
#include <atomic>
#include <ctime>

#include "at/at_fixture.h"
#include "support/no_memory.h"
#include "support/sanitizers.h"

namespace kor::test {
namespace {

#ifdef KWWAN_UNDER_SANITIZER
constexpr int32_t kManyCommands = 100'000;
#else
constexpr int32_t kManyCommands = 1'000'000;
#endif

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
  for (int sent = 0; sent < kManyCommands; sent += 20 * kRound) {
    forward(20);
    ASSERT_EQ(20u, rounds.Take(20).size());
  }
  at_.reset();
  EXPECT_EQ(forwarded, answered);
  EXPECT_EQ(0, out_of_order);
}

// CPU time of the service thread, in microseconds, for the passes that register so many names.
double CostOfRegistering(int count) {
  AtManager at;
  Lines expected;
  for (int i = 0; i < count; ++i) {
    char name[16];
    snprintf(name, sizeof(name), "+M%05d", i);
    at.RegisterCallback(
        name, [](Command&) { return Ok(); }, nullptr);
    if (i % 20 == 0) expected.emplace_back();
    expected.back() += (i % 20 == 0 ? "" : " ") + std::string(name);
  }
  // Queued behind the claims, it is served after their passes.
  std::atomic<double> cost{0};
  const auto measure = [&cost](Command&) {
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    cost = static_cast<double>(used.tv_sec) * 1e6 + static_cast<double>(used.tv_nsec) / 1e3;
    return Ok();
  };
  at.RegisterCallback("+N", measure, nullptr);
  expected.emplace_back("+N");
  AtClient::Forward(Cmd("+N"));
  at.StartService();
  EXPECT_EQ(1u, AtClient::answers.Take(1).size());
  EXPECT_EQ(expected, AtClient::requests.Take(expected.size()));
  return cost;
}

// Regression: each of the 10,000 passes used to walk all 10,000 names, 200 times the cost of a tenth of them.
TEST(RegistrationLoadTest, TenTimesTheNamesCostAboutTenTimesAsMuch) {
  setlogmask(LOG_UPTO(LOG_WARNING));
  AtClient::Reset();
  (void)CostOfRegistering(1000);
  const double some = CostOfRegistering(1000);
  const double many = CostOfRegistering(10'000);
  EXPECT_LT(many, 50 * some) << some << " us for 1,000 names, " << many << " us for 10,000";
}

}  // namespace
}  // namespace kor::test
