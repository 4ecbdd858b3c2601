// SPDX-License-Identifier: Apache-2.0
// The policy table over a modem that answers when the test says so: reports that come late, requests that are refused.
#include "router/policy_table.h"

#include <gtest/gtest.h>

#include <string>

#include "router/scripted_port.h"

namespace kor::test {

using kor::modem::CallEvent;
using kor::util::IPFamily;
using kor::vendor::qcom::qcmap::PolicyTable;

class PolicyTableTest : public testing::Test {
 protected:
  // A request that the modem takes; its serial.
  uint64_t Connect() {
    EXPECT_EQ(kor::Result::kSuccess, table.Connect(0, IPFamily::kIpv4));
    return port.asked;
  }
  uint64_t Disconnect() {
    EXPECT_EQ(kor::Result::kSuccess, table.Disconnect(0, IPFamily::kIpv4));
    return port.asked;
  }

  // The state that a report leads to, with "off" when the family is switched off: "connected", "disconnecting off".
  std::string After(CallEvent event, uint64_t serial) {
    table.Apply(100, IPFamily::kIpv4, event, serial);
    return State();
  }

  std::string State() {
    constexpr const char* kNames[] = {"none", "connecting", "connected", "disconnecting", "disconnected"};
    PolicyTable::ConnectStatus ipv4{}, ipv6{};
    bool enabled = false;
    EXPECT_TRUE(table.GetStatus(0, ipv4, ipv6) && table.GetEnabled(0, IPFamily::kIpv4, enabled));
    return std::string(kNames[static_cast<size_t>(ipv4)]) + (enabled ? "" : " off");
  }

  ScriptedPort port;
  PolicyTable table{port, {}, [](PolicyTable::Change) {}};
};

TEST_F(PolicyTableTest, ALateReportOfThePastDoesNotUndoANewerRequest) {
  // The network drops a call, or a connect fails; the next one is accepted before the table knows.
  const uint64_t first = Connect();
  EXPECT_EQ("connected", After(CallEvent::kConnected, first));
  const uint64_t second = Connect();
  EXPECT_EQ("connecting", After(CallEvent::kDisconnected, first));
  const uint64_t third = Connect();
  EXPECT_EQ("connecting", After(CallEvent::kConnectFailed, second));
  EXPECT_EQ("connected", After(CallEvent::kConnected, third));

  // The same with a disconnect that is over, and with one that has failed.
  const uint64_t fourth = Disconnect();
  const uint64_t fifth = Connect();
  EXPECT_EQ("connecting", After(CallEvent::kDisconnected, fourth));
  EXPECT_EQ("connected", After(CallEvent::kConnected, fifth));
  const uint64_t sixth = Disconnect();
  const uint64_t seventh = Disconnect();
  EXPECT_EQ("disconnecting", After(CallEvent::kDisconnectFailed, sixth));
  EXPECT_EQ("disconnected", After(CallEvent::kDisconnected, seventh));
}

TEST_F(PolicyTableTest, AConnectMayEndWhileItIsTakenBack) {
  // It has come up, so the call is up when the disconnect fails; it has failed, so it is down.
  const uint64_t start = Connect();
  const uint64_t stop = Disconnect();
  EXPECT_EQ("disconnecting", After(CallEvent::kConnected, start));
  EXPECT_EQ("connected", After(CallEvent::kDisconnectFailed, stop));
  EXPECT_EQ("disconnected", After(CallEvent::kDisconnected, stop));
  Connect();
  const uint64_t last = Disconnect();
  EXPECT_EQ("disconnecting", After(CallEvent::kConnectFailed, last));
  EXPECT_EQ("disconnected", After(CallEvent::kDisconnectFailed, last));

  // Neither yet: it is on its way again.
  Connect();
  EXPECT_EQ("connecting", After(CallEvent::kDisconnectFailed, Disconnect()));
}

TEST_F(PolicyTableTest, AFamilyIsNotOffWhileItsCallIsUp) {
  const uint64_t start = Connect();
  EXPECT_EQ("connected", After(CallEvent::kConnected, start));
  port.takes = false;
  EXPECT_FALSE(table.SetEnabled(0, IPFamily::kIpv4, false));
  EXPECT_EQ("connected", State());
  port.takes = true;
  EXPECT_TRUE(table.SetEnabled(0, IPFamily::kIpv4, false));
  EXPECT_EQ("disconnecting off", State());
  EXPECT_EQ("connected", After(CallEvent::kDisconnectFailed, port.asked));

  // Switched off while a disconnect is under way already, which then fails; and for good, though a report comes late.
  const uint64_t stop = Disconnect();
  EXPECT_TRUE(table.SetEnabled(0, IPFamily::kIpv4, false));
  EXPECT_EQ(stop, port.asked);
  EXPECT_EQ("connected", After(CallEvent::kDisconnectFailed, stop));
  EXPECT_TRUE(table.SetEnabled(0, IPFamily::kIpv4, false));
  EXPECT_EQ("disconnecting off", After(CallEvent::kDisconnectFailed, stop));
  EXPECT_EQ("disconnected off", After(CallEvent::kDisconnected, port.asked));
  EXPECT_EQ(kor::Result::kFailure, table.Connect(0, IPFamily::kIpv4));
}

TEST_F(PolicyTableTest, AReportMayOvertakeTheReturnOfItsRequest) {
  port.before_return = [this] { table.Apply(100, IPFamily::kIpv4, CallEvent::kConnectFailed, port.asked); };
  Connect();
  EXPECT_EQ("disconnected", State());
  port.before_return = [this] {
    EXPECT_FALSE(table.Delete(0));  // Its call is on its way, and the modem may have it already.
    EXPECT_EQ(100, table.HandleToAsk(0, IPFamily::kIpv4));
    table.Apply(100, IPFamily::kIpv4, CallEvent::kConnected, port.asked);
  };
  Connect();
  EXPECT_EQ("connected", State());
  port.before_return = [this] { table.Apply(100, IPFamily::kIpv4, CallEvent::kDisconnectFailed, port.asked); };
  EXPECT_TRUE(table.SetEnabled(0, IPFamily::kIpv4, false));
  EXPECT_EQ("connected", State());
  port.before_return = [this] { table.Apply(100, IPFamily::kIpv4, CallEvent::kDisconnected, port.asked); };
  EXPECT_TRUE(table.SetEnabled(0, IPFamily::kIpv4, false));
  EXPECT_EQ("disconnected off", State());
}

// What the modem says is up may not be any more: a person, or the network, was faster than its answer.
TEST_F(PolicyTableTest, ACallIsNotTakenOverAgainstWhatCameAfterTheQuestion) {
  port.running = {{100, IPFamily::kIpv4, 1, {}}};
  EXPECT_EQ("connected", After(CallEvent::kConnected, Connect()));
  const uint64_t stop = Disconnect();
  port.before_return = [&] { table.Apply(100, IPFamily::kIpv4, CallEvent::kDisconnected, stop); };
  table.TakeOverCalls();
  EXPECT_EQ(stop, port.asked);
  EXPECT_EQ("disconnected", State());

  port.before_return = nullptr;
  table.TakeOverCalls();
  EXPECT_LT(stop, port.asked);
  EXPECT_EQ("connected", After(CallEvent::kConnected, port.asked));
}

TEST_F(PolicyTableTest, ThereIsAnEndToMakingThem) {
  int made = 0;
  while (made < 300 && table.Create({1, 1, kor::wwan::Tech::kAny, IPFamily::kBoth, 0})) ++made;
  EXPECT_EQ(255, made);
}

// What is taken down stays down while it is down, up or refused, but not when it lives on.
TEST_F(PolicyTableTest, ADisconnectSuspendsUnlessTheCallLivesOn) {
  ASSERT_TRUE(table.SetAutoConnect(0, true));
  EXPECT_EQ("none", State());
  EXPECT_EQ(0, table.HandleToAsk(0, IPFamily::kIpv4));
  port.takes = false;
  EXPECT_EQ(kor::Result::kFailure, table.Disconnect(0, IPFamily::kIpv4));
  EXPECT_EQ("disconnected", State());
  EXPECT_EQ(kor::Result::kFailure, table.Connect(0, IPFamily::kIpv4));
  EXPECT_EQ("none", State());
  port.takes = true;
  EXPECT_EQ("connected", After(CallEvent::kConnected, Connect()));
  EXPECT_EQ("connected", After(CallEvent::kDisconnectFailed, Disconnect()));
  EXPECT_EQ("none", After(CallEvent::kDisconnected, port.asked));
}

}  // namespace kor::test
