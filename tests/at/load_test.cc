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

class LoadTest : public AtTest {
 protected:
  LoadTest() {
    setlogmask(LOG_UPTO(LOG_WARNING));  // As hosts do: two debug lines a command would be all that is measured.
    AtClient::on_answer = [this](const Command& cmd, const std::string&) {
      if (cmd.client_ref != answered_) ++out_of_order_;
      if (++answered_ % kRound == 0) rounds_.Add("");
    };
    Claim("+N");
  }
  ~LoadTest() override {
    at_.reset();
    setlogmask(LOG_UPTO(LOG_DEBUG));
    EXPECT_EQ(0, out_of_order_);
  }

  // Forwards so many rounds of commands, numbered on from the last call.
  void ForwardRounds(int count) {
    for (int i = 0; i < count * kRound; ++i) {
      cmd_.client_ref = forwarded_++;
      AtClient::Publish(0x301, &cmd_);
    }
  }

  static constexpr int kRound = 1000;
  Command cmd_ = Cmd("+n", AtManager::kOpSet, {"1", "2", "longer than a short string"});
  int32_t forwarded_ = 0;
  Record rounds_;
  int32_t answered_ = 0;  // This and the next on the service thread.
  int32_t out_of_order_ = 0;
};

TEST_F(LoadTest, EveryCommandIsAnsweredOnceInOrder) {
  at_->StartService();
  constexpr int kAtOnce = 20;
  for (int32_t sent = 0; sent < kManyCommands; sent += kAtOnce * kRound) {
    ForwardRounds(kAtOnce);
    ASSERT_EQ(1u * kAtOnce, rounds_.Take(kAtOnce).size());
  }
  at_.reset();
  EXPECT_EQ(kManyCommands, answered_);
}

TEST_F(LoadTest, AHundredThousandQueuedCommandsAreServedByTheNextRun) {
  ForwardRounds(100);
  at_->StartService();
  EXPECT_EQ(100u, rounds_.Take(100).size());
}

TEST_F(LoadTest, ACommandCostsThreeAllocations) {
  // The queued message, its parameters, and the one that does not fit into a string object.
  at_->StartService();
  ForwardRounds(1);
  ASSERT_EQ(1u, rounds_.Take(1).size());
  const long before = Allocations();
  ForwardRounds(1);
  ASSERT_EQ(1u, rounds_.Take(1).size());
  EXPECT_LE(Allocations() - before, 3 * kRound + 10);  // Ten for the record of the round.
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
