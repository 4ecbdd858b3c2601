// SPDX-License-Identifier: Apache-2.0
// Calls that the router keeps up by itself or finds running, over a modem that does what the test says.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <list>
#include <string>
#include <vector>

#include "common/condition.h"
#include "common/router_events.h"
#include "router/router.h"
#include "support/deaf_port.h"
#include "support/syslog_reader.h"
#include "support/wait.h"

namespace kor::test {
namespace {

using kor::modem::CallEvent;
using kor::modem::ModemState;
using kor::util::EventDic;
using kor::util::IPFamily;
using kor::vendor::qcom::qcmap::PolicyTable;
using kor::vendor::qcom::qcmap::Router;
using Status = PolicyTable::ConnectStatus;

// Takes every request and tells of none.
class Port final : public DeafPort {
 public:
  ModemState State() override {
    ++looked;
    return state;
  }
  void AddStateReport(StateReport report) override { tell_state = std::move(report); }
  kor::Result StartCall(const kor::modem::CallRequest& request) override {
    return Note("start", request.handle, request.family, request.serial);
  }
  kor::Result StopCall(int32_t handle, IPFamily family, uint64_t number) override {
    return Note("stop", handle, family, number);
  }
  kor::Result GetCalls(std::list<kor::modem::RunningCall>& calls) override {
    calls = running;
    return kor::Result::kSuccess;
  }

  // The requests since the last call, "start 100 4 stop 100 4 "; waited for.
  std::string Next() {
    kor::util::MutexLock lock(mutex_);
    if (asked_.empty()) (void)cond_.WaitUntil(mutex_, std::chrono::microseconds(kLongEnough).count());
    return std::exchange(asked_, "");
  }

  std::atomic<ModemState> state{ModemState::kReady};
  std::atomic<int> looked{0};       // At the state.
  std::atomic<uint64_t> serial{0};  // Of the latest request.
  StateReport tell_state;
  std::list<kor::modem::RunningCall> running;

 private:
  kor::Result Note(const char* what, int32_t handle, IPFamily family, uint64_t number) {
    kor::util::MutexLock lock(mutex_);
    serial = number;
    asked_ += std::string(what) + " " + std::to_string(handle) + (family == IPFamily::kIpv4 ? " 4 " : " 6 ");
    cond_.Signal();
    return kor::Result::kSuccess;
  }

  kor::util::Mutex mutex_;
  kor::util::Condition cond_;
  std::string asked_ KOR_GUARDED_BY(mutex_);
};

// Leaked on purpose, where the sanitizer finds it: a router's thread does not end.
template <typename T>
T& Keep(T* object) {
  static auto* const kept = new std::vector<T*>;
  kept->push_back(object);
  return *object;
}

class AutoConnectTest : public testing::Test {
 protected:
  AutoConnectTest() { EXPECT_TRUE(policies.SetEnabled(0, IPFamily::kIpv6, false)); }

  void Start() {
    router.Start([this](EventDic& ev) {
      if (ev.event == kor::util::kEvtReconnect) attempt = std::stoi(ev.GetParam(kor::util::kParamAttempt));
      if (ev.event == kor::util::kEvtModemState) modem = ev.GetParam(kor::util::kParamModemState);
    });
  }
  void Report(CallEvent event) { policies.Apply(100, IPFamily::kIpv4, event, port.serial); }
  Status State() { return policies.StateOf({100, IPFamily::kIpv4}); }

  const int backoff = setenv("KWWAN_BACKOFF_MS", "1 5", 1);
  const bool fresh = std::filesystem::remove(Router::kStateFile);
  Port& port = Keep(new Port);
  Router& router = Keep(new Router(port, Router::kStateFile));
  PolicyTable& policies = router.policies;
  std::atomic<int> attempt{0};
  std::string modem;
};

TEST_F(AutoConnectTest, ACallIsKeptUpUntilAPersonTakesItDownAndWhenTheModemIsBack) {
  Start();
  EXPECT_TRUE(policies.SetAutoConnect(0, true));
  EXPECT_EQ("start 100 4 ", port.Next());

  // It fails twice, and is dropped once it is up.
  Report(CallEvent::kConnectFailed);
  EXPECT_EQ("start 100 4 ", port.Next());
  EXPECT_EQ(1, attempt);
  Report(CallEvent::kConnectFailed);
  EXPECT_EQ("start 100 4 ", port.Next());
  EXPECT_EQ(2, attempt);
  Report(CallEvent::kConnected);
  EXPECT_EQ(Status::kConnected, State());
  Report(CallEvent::kDisconnected);
  EXPECT_EQ("start 100 4 ", port.Next());

  // A person takes it down: it stays so, whatever happens, until one wants it up again.
  EXPECT_EQ(kor::Result::kSuccess, policies.Disconnect(0, IPFamily::kIpv4));
  Report(CallEvent::kDisconnected);
  EXPECT_EQ(Status::kDisconnected, State());
  EXPECT_TRUE(policies.SetRoaming(0, true));
  EXPECT_EQ(kor::Result::kFailure, policies.Reconnect({100, IPFamily::kIpv4}));
  EXPECT_EQ("stop 100 4 ", port.Next());
  EXPECT_EQ(kor::Result::kSuccess, policies.Connect(0, IPFamily::kIpv4));
  Report(CallEvent::kDisconnected);
  EXPECT_EQ("start 100 4 start 100 4 ", port.Next() + port.Next());

  // The modem goes: nothing is asked of it. It is back: at once, without a wait.
  attempt = 0;
  port.state = ModemState::kGone;
  const int looked = port.looked;
  Report(CallEvent::kDisconnected);
  port.tell_state(ModemState::kGone);
  EXPECT_TRUE(Eventually([&] { return port.looked > looked; }));
  EXPECT_EQ("gone", modem);
  EXPECT_EQ(Status::kNone, State());
  port.state = ModemState::kReady;
  port.tell_state(ModemState::kReady);
  EXPECT_EQ("start 100 4 ", port.Next());
  EXPECT_EQ(0, attempt);

  // The next process goes on with it.
  Port& next = Keep(new Port);
  Keep(new Router(next, Router::kStateFile)).Start([](EventDic&) {});
  EXPECT_EQ("start 100 4 ", next.Next());
}

TEST(BackoffTest, AWrongTextIsNotTaken) {
  for (const char* text : {"5", "0 5", "5 4", "1 2 3", "1 3600001", "4294967297 60000", "a b"}) {
    setenv("KWWAN_BACKOFF_MS", text, 1);
    EXPECT_EQ(1000, kor::vendor::qcom::qcmap::Backoff::FromEnvironment().min.count()) << text;
  }
}

TEST_F(AutoConnectTest, CallsThatRunAreFoundAfterARestart) {
  SyslogReader log;
  ASSERT_TRUE(policies.Create({2, 3, kor::wwan::Tech::kAny, IPFamily::kBoth, 0}));
  port.running.resize(5);
  const int known[][3] = {{100, 4, 0}, {100, 6, 0}, {0, 6, 3}, {107, 4, 1}, {0, 4, 9}};  // Handle, family, profile.
  auto call = port.running.begin();
  for (const auto& [handle, version, profile] : known) {
    call->handle = handle;
    call->family = version == 4 ? IPFamily::kIpv4 : IPFamily::kIpv6;
    (call++)->profile = profile;
  }
  Start();
  // By its handle; of a family that is off; by its profile; of a policy that is no more; of nobody.
  EXPECT_EQ("start 100 4 stop 100 6 start 101 6 stop 107 4 ", port.Next());
  EXPECT_EQ(1u, log.TakeWith("a call of profile 9, IPv4, was up before and no policy has it").size());
  Report(CallEvent::kConnected);
  EXPECT_EQ(Status::kConnected, State());
  EXPECT_FALSE(policies.Delete(0));
}

}  // namespace
}  // namespace kor::test
