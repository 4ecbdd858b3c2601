// SPDX-License-Identifier: Apache-2.0
// Calls that the router keeps up by itself or finds running, over a modem that does what the test says.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "common/router_events.h"
#include "router/router.h"
#include "router/scripted_port.h"
#include "support/syslog_reader.h"

namespace kor::test {
namespace {

using kor::modem::CallEvent;
using kor::modem::ModemState;
using kor::util::EventDic;
using kor::util::IPFamily;
using kor::vendor::qcom::qcmap::PolicyTable;
using kor::vendor::qcom::qcmap::Router;
using Status = PolicyTable::ConnectStatus;

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

  void Report(CallEvent event) { policies.Apply(100, IPFamily::kIpv4, event, port.asked); }
  Status State() { return policies.StateOf({100, IPFamily::kIpv4}); }

  const int backoff = setenv("KWWAN_BACKOFF_MS", "1 5", 1);
  const bool fresh = std::filesystem::remove(Router::kStateFile);
  ScriptedPort& port = Keep(new ScriptedPort);
  Router& router = Keep(new Router(port, Router::kStateFile));
  PolicyTable& policies = router.policies;
};

TEST_F(AutoConnectTest, ACallIsKeptUpUntilAPersonTakesItDownAndWhenTheModemIsBack) {
  Inbox<std::string> attempts;
  router.Start([&](EventDic& ev) {
    if (ev.event == kor::util::kEvtReconnect) attempts.Add(ev.GetParam(kor::util::kParamAttempt));
  });
  EXPECT_TRUE(policies.SetAutoConnect(0, true));
  EXPECT_EQ("start 100 4", port.Next());

  // It fails, and is dropped once it is up.
  Report(CallEvent::kConnectFailed);
  EXPECT_EQ("start 100 4, attempt 1", port.Next() + ", attempt " + attempts.Next("none"));
  Report(CallEvent::kConnected);
  Report(CallEvent::kDisconnected);
  EXPECT_EQ("start 100 4", port.Next());

  // A person takes it down: it stays so, whatever happens, until one wants it up again.
  EXPECT_EQ(kor::Result::kSuccess, policies.Disconnect(0, IPFamily::kIpv4));
  Report(CallEvent::kDisconnected);
  EXPECT_EQ(Status::kDisconnected, State());
  EXPECT_TRUE(policies.SetRoaming(0, true));
  EXPECT_EQ(kor::Result::kFailure, policies.Reconnect({100, IPFamily::kIpv4}));
  EXPECT_EQ("stop 100 4", port.Next());
  EXPECT_EQ(kor::Result::kSuccess, policies.Connect(0, IPFamily::kIpv4));
  Report(CallEvent::kDisconnected);
  EXPECT_EQ("start 100 4, start 100 4", port.Next() + ", " + port.Next());

  // The modem goes and is back.
  port.state = ModemState::kGone;
  Report(CallEvent::kDisconnected);
  port.tell_state(ModemState::kGone);
  EXPECT_EQ(Status::kNone, State());
  port.state = ModemState::kReady;
  port.tell_state(ModemState::kReady);
  EXPECT_EQ("start 100 4", port.Next());

  // The next process goes on with it.
  ScriptedPort& next = Keep(new ScriptedPort);
  Keep(new Router(next, Router::kStateFile)).Start([](EventDic&) {});
  EXPECT_EQ("start 100 4", next.Next());
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
  port.running = {{100, IPFamily::kIpv4, 0, {}},
                  {100, IPFamily::kIpv6, 0, {}},
                  {0, IPFamily::kIpv6, 3, {}},
                  {107, IPFamily::kIpv4, 1, {}},
                  {0, IPFamily::kIpv4, 9, {}}};
  router.Start([](EventDic&) {});
  // By its handle; of a family that is off; by its profile; of a policy that is no more; of nobody.
  for (const char* request : {"start 100 4", "stop 100 6", "start 101 6", "stop 107 4"}) {
    EXPECT_EQ(request, port.Next());
  }
  EXPECT_EQ(1u, log.TakeWith("a call of profile 9, IPv4, was up before and no policy has it").size());
  Report(CallEvent::kConnected);
  EXPECT_EQ(Status::kConnected, State());
  EXPECT_FALSE(policies.Delete(0));
}

}  // namespace
}  // namespace kor::test
