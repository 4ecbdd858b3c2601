// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <sstream>
#include <thread>

#include "dns/dns_ctrl_service.h"
#include "support/scripted_vendor.h"
#include "support/story.h"
#include "support/syslog_reader.h"
#include "support/wait.h"
#include "wwan/data_manager.h"
#include "wwan/dns_ctrl_manager.h"

namespace kor::test {
namespace {

using namespace std::chrono_literals;
using kor::util::EventDic;
using kor::wwan::DataManagerPeer;
using kor::wwan::DnsCtrlManager;
using Clock = std::chrono::steady_clock;
using Status = DataManager::ConnectStatus;

constexpr auto kIpv4 = IPFamily::kIpv4;
constexpr auto kIpv6 = IPFamily::kIpv6;
constexpr auto kOk = kor::Result::kSuccess;
constexpr auto kFailed = kor::Result::kFailure;

EventDic Event(uint32_t code) {
  EventDic ev;
  ev.event = code;
  ev.params = {{EventDic::kParamHandle, "100"}, {EventDic::kParamIpFamily, "4"}};
  return ev;
}

class ConnectTest : public testing::Test {
 protected:
  ConnectTest() {
    Vendor::Set([](Answers& a) { a.policies = {Policy(1, 1, 100), Policy(2, 2, 101)}; });
  }

  static void PublishDnsUpdate() {
    EventDic ev = Event(kor::util::kEvtDnsUpdated);
    DnsCtrlManager::s_dns_ctrl_service_->callbacks_.Notify(ev);
  }

  // Publishes events, "303 200:100:4": the DNS service's, and those of calls with a handle and a family.
  static void Publish(const std::string& events) {
    std::istringstream words(events);
    for (std::string word; words >> word;) {
      const auto code = static_cast<uint32_t>(std::stoul(word, nullptr, 16));
      const size_t handle = word.find(':') + 1, family = word.rfind(':') + 1;
      if (code == kor::util::kEvtDnsUpdated) {
        PublishDnsUpdate();
      } else {
        Vendor::Publish(code, word.substr(handle, family - handle - 1), word.substr(family));
      }
    }
  }

  // What the modem does while the request is being made: its events stand in the queue before the wait begins.
  static void OnRequest(std::function<void()> action) {
    Vendor::Set([&](Answers& a) { a.on_request = std::move(action); });
  }
  static void OnRequest(const char* events) {
    OnRequest([events] { Publish(events); });
  }

  // Events from before the next request.
  void Queue(std::initializer_list<uint32_t> codes) {
    for (const uint32_t code : codes) {
      EventDic old = Event(code);
      data_.EventCb(old);
    }
  }

  static void SetState(uint32_t index, Status ipv4, Status ipv6) {
    Vendor::Set([&](Answers& a) { a.states[index] = {ipv4, ipv6}; });
  }

  // The requests among what was asked of the modem.
  static Calls TakeRequests() {
    Calls requests;
    for (const auto& call : Vendor::Take()) {
      if (call.rfind("Get", 0) != 0) requests.push_back(call);
    }
    return requests;
  }

  DnsCtrlManager dns_;
  DataManager data_;
};

TEST_F(ConnectTest, UpTakesBothConfirmationsInEitherOrder) {
  OnRequest("200:100:4 303");
  EXPECT_EQ(kOk, data_.Connect(0, kIpv4, true));
  OnRequest("303 303 200:101:6");
  EXPECT_EQ(kOk, data_.Connect(1, kIpv6, true));
  EXPECT_EQ((Calls{"ConnectBackhaul 0 1", "ConnectBackhaul 1 2"}), TakeRequests());

  // Neither alone is enough, however often it comes.
  DataManagerPeer::SetWaitBudget(data_, 30ms);
  for (const char* events : {"200:100:4 200:100:4", "303 303"}) {
    OnRequest(events);
    EXPECT_EQ(kFailed, data_.Connect(0, kIpv4, true));
  }

  // Events from before the request do not count.
  Queue({0x200, 0x303, 0x202});
  OnRequest("");
  EXPECT_EQ(kFailed, data_.Connect(0, kIpv4, true));

  // The subscriptions are gone: nothing is queued any more, and the next wait starts empty.
  Publish("200:100:4 303");
  EXPECT_EQ(0u, DataManagerPeer::Queued(data_));

  // A confirmation that comes late: the next connect finds the call up, and sends nothing.
  SetState(0, Status::kConnected, Status::kDisconnected);
  (void)TakeRequests();
  EXPECT_EQ(kOk, data_.Connect(0, kIpv4, true));
  EXPECT_EQ(Calls{}, TakeRequests());
}

TEST_F(ConnectTest, EventsOfOtherCallsAreToldApart) {
  SyslogReader log;
  OnRequest([] {
    // Another policy's call, whose failure is not ours either; the other family's call, or none's.
    Publish("303 200:101:4 201:101:4 200:100:6 201:100:IPv4");
    for (const char* handle : {"", "abc", "100x", " 100", "99999999999"}) Vendor::Publish(0x200, handle, "4");
    // What means nothing to a connect; what comes too late, as the outcome is known.
    Publish("202:100:4 203:100:4 9999:100:4 200:100:4 201:100:4");
  });
  EXPECT_EQ(kOk, data_.Connect(0, kIpv4, true));

  const std::string connect = "7 kor::Result kor::wwan::DataManager::Connect(uint32_t, kor::util::IPFamily, bool) #: ";
  const std::string wait = "7 kor::Result kor::wwan::DataManager::WaitEvent(uint32_t, kor::util::IPFamily, bool) #: ";
  Calls lines = log.Take();
  ASSERT_EQ(18u, lines.size());
  EXPECT_EQ(connect + "Before wait event\n", lines[0]);
  EXPECT_EQ(wait + "GOT event [0x303]\n", lines[1]);
  EXPECT_EQ(wait + "GOT event [0x200]\n", lines[2]);
  EXPECT_EQ(wait + "target handle is [100], but event handle is [101]\n", lines[3]);
  EXPECT_EQ(wait + "GOT event [0x9999]\n", lines[15]);
  EXPECT_EQ(connect + "After wait event [", lines[17].substr(0, connect.size() + 18));
  EXPECT_EQ("]\n", lines[17].substr(lines[17].size() - 2));

  // What is no number is not 0, a handle like any other.
  Vendor::Set([](Answers& a) { a.policies[0].handle = 0; });
  OnRequest("303 201:abc:4 200:0:4");
  EXPECT_EQ(kOk, data_.Connect(0, kIpv4, true));
}

TEST_F(ConnectTest, AFailureEndsTheWaitAtOnceAndTheObjectConnectsAgain) {
  const auto start = Clock::now();
  OnRequest("201:100:4 303 200:100:4");
  EXPECT_EQ(kFailed, data_.Connect(0, kIpv4, true));
  EXPECT_LT(Clock::now() - start, 9s);  // The budget is ten.
  OnRequest("303 200:100:4");
  EXPECT_EQ(kOk, data_.Connect(0, kIpv4, true));
}

TEST_F(ConnectTest, StatesDecideBeforeAnythingIsSent) {
  const struct {
    Status status;
    kor::Result connect;
    size_t connect_sent;
    size_t disconnect_sent;
  } cases[] = {{Status::kNone, kOk, 1, 1},
               {Status::kConnecting, kFailed, 0, 1},
               {Status::kConnected, kOk, 0, 1},
               {Status::kDisconnecting, kFailed, 0, 1},
               {Status::kDisconnected, kOk, 1, 0}};
  for (const auto& c : cases) {
    for (const IPFamily family : {kIpv4, kIpv6}) {
      SCOPED_TRACE(static_cast<int>(c.status) * 10 + static_cast<int>(family));
      // The other family's state, which would decide otherwise, does not count.
      const Status other = c.status == Status::kConnected ? Status::kConnecting : Status::kConnected;
      SetState(1, family == kIpv4 ? c.status : other, family == kIpv6 ? c.status : other);
      EXPECT_EQ(c.connect, data_.Connect(1, family, false));
      EXPECT_EQ(c.connect_sent, TakeRequests().size());
      EXPECT_EQ(kOk, data_.Disconnect(1, family, false));
      EXPECT_EQ(c.disconnect_sent, TakeRequests().size());
    }
  }

  // The service is held for the length of a request, also of one that is not waited for.
  int managers = 0;
  SetState(1, Status::kDisconnected, Status::kDisconnected);
  OnRequest([&] { managers = DnsCtrlManager::s_ref_cnt_; });
  EXPECT_EQ(kOk, data_.Connect(1, kIpv4, false));
  EXPECT_EQ(2, managers);
  OnRequest("");
  (void)TakeRequests();

  // Both families at once are refused; an unknown family has no state to stop it, and the modem answers.
  EXPECT_EQ(kFailed, data_.Connect(1, IPFamily::kBoth, true));
  EXPECT_EQ(kFailed, data_.Disconnect(1, IPFamily::kBoth, true));
  EXPECT_EQ(Calls{}, TakeRequests());
  Vendor::Set([](Answers& a) { a.request = static_cast<kor::Result>(77); });
  EXPECT_EQ(77, static_cast<int>(data_.Connect(1, static_cast<IPFamily>(0), true)));
  EXPECT_EQ(77, static_cast<int>(data_.Connect(1, static_cast<IPFamily>(9), true)));

  // A modem that does not answer.
  Vendor::Set([](Answers& a) { a.ok = false; });
  EXPECT_EQ(kFailed, data_.Connect(1, kIpv4, true));
  EXPECT_EQ(kFailed, data_.Disconnect(1, kIpv4, true));
}

TEST_F(ConnectTest, ARefusedRequestIsNotWaitedFor) {
  SyslogReader log;
  Vendor::Set([](Answers& a) { a.request = static_cast<kor::Result>(77); });
  EXPECT_EQ(77, static_cast<int>(data_.Connect(0, kIpv4, true)));
  EXPECT_EQ(2u, log.TakeWith(" wait event").size());  // Both lines stand in the log all the same.
  SetState(0, Status::kConnected, Status::kConnected);
  EXPECT_EQ(77, static_cast<int>(data_.Disconnect(0, kIpv4, true)));
  Vendor::Publish(0x202, "100", "4");
  EXPECT_EQ(0u, DataManagerPeer::Queued(data_));

  // A policy that went away under way, or that cannot be read: found when the wait begins.
  Vendor::Set([](Answers& a) { a.request = kOk; });
  OnRequest("303");
  EXPECT_EQ(kFailed, data_.Connect(2, kIpv4, true));
  EXPECT_EQ(2u, log.Take().size());  // Nothing was waited for, and nothing said of it.
  Vendor::Set([](Answers& a) { a.lists_ok = false; });
  SetState(0, Status::kDisconnected, Status::kDisconnected);
  EXPECT_EQ(kFailed, data_.Connect(0, kIpv4, true));
  EXPECT_EQ((Calls{"3 kor::Result kor::wwan::DataManager::WaitEvent(uint32_t, kor::util::IPFamily, bool) #: "
                   "Cannot get GetWwanPolicies\n"}),
            log.TakeWith("GetWwanPolicies"));
  SetState(0, Status::kConnected, Status::kConnected);
  EXPECT_EQ(kFailed, data_.Disconnect(0, kIpv4, true));
  EXPECT_EQ((Calls{"3 kor::Result kor::wwan::DataManager::Disconnect(uint32_t, kor::util::IPFamily, bool) #: "
                   "Cannot get wwan statuses"}),
            log.TakeWith("Cannot get"));
}

TEST_F(ConnectTest, DisconnectHearsOnlyItsOwnOutcome) {
  SetState(0, Status::kConnected, Status::kConnecting);
  Queue({0x203});
  OnRequest("303 203:101:4 200:100:4 201:100:4 202:100:4");  // The first is not even queued.
  EXPECT_EQ(kOk, data_.Disconnect(0, kIpv4, true));
  Queue({0x202});
  OnRequest("202:101:6 202:100:4 203:100:6 202:100:6");
  EXPECT_EQ(kFailed, data_.Disconnect(0, kIpv6, true));
  EXPECT_EQ((Calls{"DisconnectBackhaul 0 1", "DisconnectBackhaul 0 2"}), TakeRequests());
}

TEST_F(ConnectTest, TheBudgetRunsOverAllPasses) {
  // Events of another call, and wake-ups for nothing, keep the wait awake for longer than its budget.
  DataManagerPeer::SetWaitBudget(data_, 200ms);
  const auto start = Clock::now();
  auto connect = std::async(std::launch::async, [&] { return data_.Connect(0, kIpv4, true); });
  while (connect.wait_for(2ms) != std::future_status::ready && Clock::now() - start < kLongEnough) {
    Publish("200:101:4");
    for (int i = 0; i < 3; ++i) DataManagerPeer::WakeForNothing(data_);
  }
  ASSERT_EQ(std::future_status::ready, connect.wait_for(0s));
  EXPECT_EQ(kFailed, connect.get());
  EXPECT_GE(Clock::now() - start, 200ms);

  // An event that is queued already is taken though the budget has run out: one, and no more.
  DataManagerPeer::SetWaitBudget(data_, 1us);
  OnRequest("303 200:100:4");
  EXPECT_EQ(kOk, data_.Connect(0, kIpv4, true));
  OnRequest("9999:100:4 303 200:100:4");
  EXPECT_EQ(kFailed, data_.Connect(0, kIpv4, true));
}

// Regression: the callback woke the waiting thread when it had let go of the queue, and perhaps after the object's end.
// (A sanitizer sees it.)
TEST_F(ConnectTest, TheObjectMayEndAsSoonAsItsWaitHas) {
  for (int i = 0; i < 300; ++i) {
    auto data = std::make_unique<DataManager>();
    std::thread publisher([&data = *data] {
      EventDic ev = Event(0x202);
      data.EventCb(ev);
    });
    EXPECT_EQ(kOk, data->WaitEvent(0, kIpv4, false));
    data.reset();
    publisher.join();
  }
}

// Regression: two live objects can have the same instance number, the wished key of their waits' subscriptions.
TEST_F(ConnectTest, ObjectsWithTheSameInstanceNumberWaitSideBySide) {
  auto first = std::make_unique<DataManager>();
  DataManager a;
  first.reset();
  DataManager b;
  ASSERT_EQ(DataManagerPeer::InstanceNumber(a), DataManagerPeer::InstanceNumber(b));

  std::atomic<int> requests{0};
  OnRequest([&] { ++requests; });
  auto connect_a = std::async(std::launch::async, [&] { return a.Connect(0, kIpv4, true); });
  auto connect_b = std::async(std::launch::async, [&] { return b.Connect(1, kIpv6, true); });
  ASSERT_TRUE(Eventually([&] { return requests == 2; }));
  Publish("303 200:101:6");
  ASSERT_EQ(std::future_status::ready, connect_b.wait_for(kLongEnough));
  Publish("200:100:4");
  ASSERT_EQ(std::future_status::ready, connect_a.wait_for(kLongEnough));
  EXPECT_EQ(kOk, connect_a.get());
  EXPECT_EQ(kOk, connect_b.get());
}

class ConnectWithCidTest : public ConnectTest {
 protected:
  ConnectWithCidTest() {
    SetState(0, Status::kConnected, Status::kConnected);
    SetState(1, Status::kConnected, Status::kConnected);
  }

  Calls Requests(int cid, IPFamily family, kor::Result expected) {
    EXPECT_EQ(expected, data_.ConnectWithCid(cid, family, false));
    return TakeRequests();
  }
};

TEST_F(ConnectWithCidTest, TheFirstPolicyThatFitsIsTaken) {
  // Up already: nothing is sent.
  EXPECT_EQ(Calls{}, Requests(2, kIpv4, kOk));
  // The policy that carries the profile is connected as it is; one that has a call of either family is not idle.
  SetState(1, Status::kDisconnected, Status::kConnected);
  SetState(0, Status::kDisconnected, Status::kConnected);
  EXPECT_EQ((Calls{"ConnectBackhaul 1 1"}), Requests(2, kIpv4, kOk));
  SetState(0, Status::kConnected, Status::kDisconnected);
  EXPECT_EQ((Calls{"ConnectBackhaul 1 1"}), Requests(2, kIpv4, kOk));
  // The profile counts in its family's place only: for IPv6 policy 1 is up.
  Vendor::Set([](Answers& a) { a.policies[1] = Policy(2, 3, 101); });
  EXPECT_EQ(Calls{}, Requests(3, kIpv6, kOk));
  // An idle policy that comes first is given the profile, though a later one carries it.
  SyslogReader log;
  SetState(0, Status::kDisconnected, Status::kDisconnected);
  EXPECT_EQ((Calls{"SetWwanPolicy 0 7 1 2 -1", "ConnectBackhaul 0 1"}), Requests(2, kIpv4, kOk));
  EXPECT_EQ((Calls{"7 kor::Result kor::wwan::DataManager::ConnectWithCid(int, kor::util::IPFamily, bool) #: "
                   "before call SetPolicy ip_family 1 cid 2 set_policy 1\n"}),
            log.TakeWith("before call"));
}

TEST_F(ConnectWithCidTest, WithoutOneAPdnIsMadeWithTheSmallestFreeProfile) {
  Vendor::Set([](Answers& a) { a.policies = {Policy(1, 3, 100), Policy(2, 5, 101)}; });
  EXPECT_EQ((Calls{"CreateWwanPolicy 7 3 4 4", "SetWwanPolicy 2 7 2 9 -1", "ConnectBackhaul 2 2"}),
            Requests(9, kIpv6, kOk));

  // The last number is 24; when every one is in use, there is no other.
  Vendor::Set([](Answers& a) {
    a.policies.clear();
    for (int n = 0; n < 12; ++n) {
      a.policies.push_back(Policy(2 * n + 1, n == 11 ? 1 : 2 * n + 2, 100 + n));
      a.states[static_cast<uint32_t>(n)] = {Status::kConnected, Status::kConnected};
    }
  });
  EXPECT_EQ((Calls{"CreateWwanPolicy 7 3 24 24", "SetWwanPolicy 12 7 1 30 -1", "ConnectBackhaul 12 1"}),
            Requests(30, kIpv4, kOk));
  SetState(12, Status::kConnected, Status::kConnected);
  EXPECT_EQ(Calls{}, Requests(31, kIpv4, kFailed));
  // What cannot be read is not guessed.
  Vendor::Set([](Answers& a) { a.lists_ok = false; });
  EXPECT_EQ(Calls{}, Requests(1, kIpv4, kFailed));
}

}  // namespace
}  // namespace kor::test
