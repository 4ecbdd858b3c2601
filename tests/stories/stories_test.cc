// SPDX-License-Identifier: Apache-2.0
// Random stories: what a host may do and what may happen to it, in any order, against a small model of the contract.
// Each prints its seed; KWWAN_STORY_SEED plays one again, KWWAN_STORY_STEPS and KWWAN_CYCLES say for how long.
#include <gtest/gtest.h>
#include <malloc.h>

#include <atomic>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "common/vendor/qcmap_wrapper.h"
#include "simulator/sim_modem.h"
#include "support/dns_files.h"
#include "support/files.h"
#include "support/footprint.h"
#include "support/story.h"
#include "support/wait.h"
#include "wwan/data_manager.h"
#include "wwan/dns_ctrl_manager.h"

namespace kor::test {
namespace {

using namespace std::chrono_literals;
using kor::modem::SimModem;
using kor::util::EventDic;
using kor::util::IPFamily;
using kor::wwan::DataManager;
using kor::wwan::DnsCtrlManager;
using Status = DataManager::ConnectStatus;

constexpr auto kPlenty = 10s;
constexpr auto kTooShort = 200ms;  // For waits that are to end without an answer.
constexpr auto kTooLate = 1s;      // For the modem's word when the wait has ended.

std::string Servers() { return ReadFile(kServerList); }

// A call's name, and what is known of it.
struct Call {
  uint32_t index;
  IPFamily family;

  int32_t handle() const { return static_cast<int32_t>(100 + index); }
  bool ipv4() const { return family == IPFamily::kIpv4; }
  std::string Address(unsigned n) const { return (ipv4() ? "10.255.1." : "fd64:ffff::1:") + std::to_string(n); }

  // The contract: kDown and kUp, and what a modem that falls silent makes of them.
  enum State { kDown, kUp, kHung, kUnreported, kStuck } state = kDown;  // Hung while connecting, stuck while it ends.
  std::set<std::string> next_servers;                                   // When it comes up next.
  std::set<std::string> servers;                                        // While it is up.
};

// What a request runs into: its result, and what becomes of the call.
struct Fault {
  void (*arm)(SimModem& modem);
  int result;
  Call::State state;
  bool late = false;
};

constexpr Fault kConnectFaults[] = {
    {[](SimModem& modem) { modem.FailNext("StartCall", 1, kor::Result{77}); }, 77, Call::kDown},
    {[](SimModem& modem) { modem.FailConnects(1); }, 1, Call::kDown},
    {[](SimModem& modem) { modem.IgnoreRequests(1); }, 1, Call::kHung},
    {[](SimModem& modem) { modem.LoseReports(1); }, 1, Call::kUnreported},
    {[](SimModem& modem) { modem.SetConnectDelay(kTooLate); }, 1, Call::kUp, true}};
constexpr Fault kDisconnectFaults[] = {
    {[](SimModem& modem) { modem.FailNext("StopCall", 1, kor::Result{78}); }, 78, Call::kUp},
    {[](SimModem& modem) { modem.FailDisconnects(1); }, 1, Call::kUp},
    {[](SimModem& modem) { modem.IgnoreRequests(1); }, 1, Call::kStuck},
    {[](SimModem& modem) { modem.SetDisconnectDelay(kTooLate); }, 1, Call::kDown, true}};

Status StatusOf(DataManager& data, const Call& call) {
  Status ipv4{};
  Status ipv6{};
  EXPECT_TRUE(data.GetConnectStatus(call.index, ipv4, ipv6));
  return call.ipv4() ? ipv4 : ipv6;
}

// An event that concerns nobody who waits now: of another call, without sense, or of a call that is at rest.
void PublishNoise(Dice& dice, bool at_rest) {
  EventDic ev;
  ev.event = 0x200 + dice.Below(5);
  const char* const handles[] = {"99", "-1", "1000000000000", "x", "", at_rest ? "100" : "0x64"};
  ev.params[EventDic::kParamHandle] = handles[dice.Below(6)];
  ev.params[EventDic::kParamIpFamily] = dice.OneIn(2) ? "4" : "6";
  for (unsigned times = 1 + dice.Below(2); times > 0; --times) {
    kor::vendor::qcom::qcmap::QcmapWrapper::GetInstance()->event_cbs.Notify(ev);
  }
}

class StoriesTest : public testing::Test {
 protected:
  StoriesTest() {
    modem_.SetConnectDelay(SimModem::Milliseconds(2));
    modem_.SetDisconnectDelay(SimModem::Milliseconds(1));
    for (uint32_t index = 0; index < 3; ++index) {
      EXPECT_TRUE(index == 0 || DataManager().CreatePdn(kor::wwan::Tech::kAny, IPFamily::kBoth, 1, 1));
      for (const IPFamily family : {IPFamily::kIpv4, IPFamily::kIpv6}) {
        calls_.push_back({index, family, Call::kDown, {}, {}});
        Call& call = calls_.back();
        call.next_servers = {call.Address(1)};
        modem_.SetDnsServers(call.handle(), family, call.Address(1), "");
      }
    }
    {
      DnsCtrlManager dns;  // What is made once and stays.
      dns.StartService();
    }
    rest_ = Footprint();
  }

  SimModem& modem_ = SimModem::Get();
  std::vector<Call> calls_;
  std::string rest_;
};

// A host with some objects and one thread.
class Host {
 public:
  Host(unsigned seed, std::vector<Call>& calls) : dice_(seed), calls_(calls) {
    for (auto& object : objects_) Renew(object);
  }
  ~Host() {
    modem_.SetDisconnectDelay(SimModem::Milliseconds(1));
    for (Call& call : calls_)
      EXPECT_EQ(0, static_cast<int>(objects_[0]->data.Disconnect(call.index, call.family, true)));
    EXPECT_LT(0, heard_);
  }

  void Step() {
    Object& object = *objects_[dice_.Below(kObjects)];
    Call& call = calls_[dice_.Below(static_cast<unsigned>(calls_.size()))];
    const unsigned what = dice_.Below(8);
    if (what < 5) Request(object.data, call, what < 3);
    if (what == 5) ChangeServers(call);
    if (what == 5 && dice_.OneIn(2)) Drop(call);
    if (what == 6 && dice_.OneIn(4)) SwitchService();
    if (what == 6) PublishNoise(dice_, true);
    if (what == 7) Renew(objects_[dice_.Below(kObjects)]);
    Look();
  }

 private:
  static constexpr unsigned kObjects = 3;

  // Its callback must not come when it has been unsubscribed or the object is gone.
  struct Object {
    std::shared_ptr<std::atomic<bool>> subscribed = std::make_shared<std::atomic<bool>>(true);
    DataManager data;
  };

  void Renew(std::unique_ptr<Object>& object) {
    if (object != nullptr && dice_.OneIn(2)) object->data.UnsetEventCb();
    const auto before = object == nullptr ? nullptr : object->subscribed;
    object = std::make_unique<Object>();
    if (before != nullptr) *before = false;
    object->data.SetEventCb([this, subscribed = object->subscribed](EventDic&) {
      EXPECT_TRUE(*subscribed);
      ++heard_;
    });
  }

  // A connect or a disconnect, sometimes with a fault in its way.
  void Request(DataManager& data, Call& call, bool connect) {
    modem_.SetConnectDelay(SimModem::Milliseconds(dice_.Below(3)));  // 0: before the request has returned, or nearly.
    modem_.SetDisconnectDelay(SimModem::Milliseconds(dice_.Below(3)));
    const bool wait = !dice_.OneIn(4);
    const Call::State from = connect ? Call::kDown : Call::kUp;
    Fault outcome{nullptr, 0, connect ? Call::kUp : Call::kDown};
    if (call.state == from && wait && dice_.OneIn(2)) {
      outcome = connect ? kConnectFaults[dice_.Below(5)] : kDisconnectFaults[dice_.Below(4)];
      outcome.arm(modem_);
    } else if (connect && call.state != from) {
      outcome = {nullptr, call.state == Call::kUp ? 0 : 1, call.state};
    } else if (connect && wait && !running_) {
      outcome.result = 1;  // Nobody writes the forwarder's list.
    }
    const bool answered = !outcome.late && (outcome.state == Call::kUp || outcome.state == Call::kDown);
    const bool short_wait = !answered || (connect && !running_);
    kor::wwan::DataManagerPeer::SetWaitBudget(data, short_wait ? kTooShort : kPlenty);
    EXPECT_EQ(outcome.result, static_cast<int>(connect ? data.Connect(call.index, call.family, wait)
                                                       : data.Disconnect(call.index, call.family, wait)));
    if (call.state == Call::kDown) call.servers = call.next_servers;
    call.state = outcome.state;
    ExpectQuiet();  // What was not waited for comes in its own time.
  }

  void Drop(Call& call) {
    const bool up = call.state != Call::kDown && call.state != Call::kHung;
    EXPECT_EQ(up, modem_.Drop(call.handle(), call.family));
    if (up) call.state = Call::kDown;
    ExpectQuiet();
  }

  void ExpectQuiet() { EXPECT_TRUE(modem_.WaitIdle(kLongEnough)); }

  void ChangeServers(Call& call) {
    call.next_servers = {call.Address(1 + dice_.Below(9)), call.Address(1 + dice_.Below(9))};
    modem_.SetDnsServers(call.handle(), call.family, *call.next_servers.begin(), *call.next_servers.rbegin());
  }

  void SwitchService() {
    running_ = !running_;
    EXPECT_TRUE(running_ ? dns_.StartService() : dns_.StopService());
  }

  // The world is as the model has it.
  void Look() {
    constexpr Status kStatuses[] = {Status::kDisconnected, Status::kConnected, Status::kConnecting, Status::kConnecting,
                                    Status::kDisconnecting};
    std::set<std::string> servers;
    for (const Call& call : calls_) {
      EXPECT_EQ(kStatuses[call.state], StatusOf(objects_[0]->data, call)) << call.index << ' ' << call.ipv4();
      if (call.state != Call::kDown && call.state != Call::kHung)
        servers.insert(call.servers.begin(), call.servers.end());
    }
    std::string list;
    for (const auto& server : servers) list += "nameserver " + server + "\n";
    EXPECT_TRUE(!running_ || Eventually([&] { return Servers() == list; })) << Servers() << "instead of\n" << list;
  }

  Dice dice_;
  std::vector<Call>& calls_;
  SimModem& modem_ = SimModem::Get();
  DnsCtrlManager dns_;
  bool running_ = false;
  std::atomic<int> heard_{0};  // Events, by the objects.
  std::unique_ptr<Object> objects_[kObjects];
};

TEST_F(StoriesTest, OneThreadAndTheModel) {
  const unsigned one = Setting("KWWAN_STORY_SEED", 0);
  for (const unsigned seed : one != 0 ? std::vector<unsigned>{one} : std::vector<unsigned>{1, 2, 3}) {
    printf("seed %u\n", seed);
    {
      Host host(seed, calls_);
      for (unsigned step = 0; step < Setting("KWWAN_STORY_STEPS", 120) && !HasFailure(); ++step) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
        host.Step();
      }
    }
    for (Call& call : calls_) call.state = Call::kDown;
    EXPECT_TRUE(ComesTo(rest_));
  }
}

// One thread's own call: whatever the others do, it comes and goes as it was told to.
void LiveACall(unsigned seed, const Call& call, unsigned steps) {
  Dice dice(seed);
  for (unsigned step = 0; step < steps; ++step) {
    SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
    DataManager data;
    EXPECT_EQ(0, static_cast<int>(data.Connect(call.index, call.family, !dice.OneIn(3))));
    EXPECT_TRUE(Eventually([&] { return StatusOf(data, call) == Status::kConnected; }));
    if (dice.OneIn(4)) {
      EXPECT_TRUE(SimModem::Get().Drop(call.handle(), call.family));
    } else {
      EXPECT_EQ(0, static_cast<int>(data.Disconnect(call.index, call.family, !dice.OneIn(3))));
    }
    EXPECT_TRUE(Eventually([&] { return StatusOf(data, call) == Status::kDisconnected; }));
  }
}

TEST_F(StoriesTest, AThreadForEachCallAndAServiceThatComesAndGoes) {
  const unsigned seed = Setting("KWWAN_STORY_SEED", 4);
  printf("seed %u\n", seed);
  {
    DnsCtrlManager dns;
    ASSERT_TRUE(dns.StartService());
    std::atomic<size_t> living{calls_.size()};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < calls_.size(); ++i) {
      threads.emplace_back([&, i] {
        LiveACall(seed + i, calls_[i], Setting("KWWAN_STORY_STEPS", 120) / 8);
        --living;
      });
    }
    for (Dice dice(seed); living > 0;) {
      PublishNoise(dice, false);
      const bool restarts = dice.OneIn(8);
      EXPECT_TRUE(!restarts || (dns.StopService() && dns.StartService()));
    }
    for (auto& thread : threads) thread.join();
    EXPECT_TRUE(Eventually([] { return Servers().empty(); }));
  }
  EXPECT_TRUE(ComesTo(rest_));
}

TEST_F(StoriesTest, NothingIsLeftOfManyCycles) {
  const unsigned cycles = Setting("KWWAN_CYCLES", 100);
  DnsCtrlManager dns;
  ASSERT_TRUE(dns.StartService());
  const auto cycle = [] {
    DataManager data;
    EXPECT_EQ(0, static_cast<int>(data.Connect(0, IPFamily::kIpv4, true)));
    EXPECT_EQ(0, static_cast<int>(data.Disconnect(0, IPFamily::kIpv4, true)));
  };
  const auto settled = [] { return Eventually([] { return Servers().empty(); }); };
  for (int warm = 0; warm < 20; ++warm) cycle();
  EXPECT_TRUE(settled());
  const std::string footprint = Footprint();
  const size_t bytes = mallinfo2().uordblks;  // 0 under the sanitizers, which look for themselves.
  for (unsigned i = 0; i < cycles && !HasFailure(); ++i) cycle();
  EXPECT_TRUE(settled());
  EXPECT_TRUE(ComesTo(footprint));
  const auto more = static_cast<long>(mallinfo2().uordblks) - static_cast<long>(bytes);
  EXPECT_LT(more, 8 * 1024) << "bytes after " << cycles << " cycles";
  printf("%u cycles: %s, %+ld bytes\n", cycles, Footprint().c_str(), more);
}

}  // namespace
}  // namespace kor::test
