// SPDX-License-Identifier: Apache-2.0
#include "common/util/network_manager.h"

#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "common/condition.h"
#include "kutil/datagrams.h"
#include "kutil/interface_monitor.h"
#include "kutil/probes.h"
#include "kutil/route_request.h"
#include "support/no_memory.h"

namespace kor::util {
namespace {

using test::Eventually;
using test::Happening;
using test::Ip;
using test::ProcessState;

// The names that were reported since they were last taken.
class Reports {
 public:
  void Add(EventDic& event) {
    EXPECT_EQ(kEvtNetIface, event.event);
    MutexLock lock(mutex_);
    names_.insert(event.GetParam(EventDic::kParamIfaceName));
  }

  bool Have(const std::string& name) {
    MutexLock lock(mutex_);
    return names_.count(name) > 0;
  }

  // Waits for all of `names`, and forgets what came until then.
  bool Bring(const std::set<std::string>& names) {
    const bool there = Eventually([&] {
      MutexLock lock(mutex_);
      return std::includes(names_.begin(), names_.end(), names.begin(), names.end());
    });
    MutexLock lock(mutex_);
    names_.clear();
    return there;
  }

 private:
  Mutex mutex_;
  std::set<std::string> names_ KOR_GUARDED_BY(mutex_);
};

class NetworkManagerTest : public test::LinkTest {
 protected:
  ~NetworkManagerTest() override { close(fd); }

  // Takes a link up or down, which is one change or more: quick enough to outrun a reader.
  void Flip(const char* name) const {
    ifreq request{};
    std::string(name).copy(request.ifr_name, IFNAMSIZ - 1);
    EXPECT_EQ(0, ioctl(fd, SIOCGIFFLAGS, &request));
    request.ifr_flags = static_cast<short>(request.ifr_flags ^ IFF_UP);
    EXPECT_EQ(0, ioctl(fd, SIOCSIFFLAGS, &request));
  }
  std::function<void(EventDic&)> Recorder() {
    return [this](EventDic& event) { reports.Add(event); };
  }

  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  Reports reports;
  const ProcessState before = ProcessState::Now();
};

TEST_F(NetworkManagerTest, EveryChangeOfEveryInterfaceIsReported) {
  NetworkManager manager;
  manager.SetEventCb(Recorder());
  const std::string stacked = "link add link rmnet_data0 name rmnet_data0.7 type ";
  const struct {
    std::vector<std::string> changes;
    std::set<std::string> names;
  } steps[] = {
      // The far end's change brings the near end's carrier, too.
      {{"link set carrier0 up"}, {"carrier0"}},
      {{"link set rmnet_data0 up"}, {"rmnet_data0", "carrier0"}},
      {{"addr add 10.64.0.2/30 dev rmnet_data0"}, {"rmnet_data0"}},
      {{"addr del 10.64.0.2/30 dev rmnet_data0"}, {"rmnet_data0"}},
      {{"addr add fd64::2/64 dev rmnet_data0"}, {"rmnet_data0"}},
      // A link on top of another one is an interface like any other (not every kernel has the first kind); so is one
      // in a bridge, and one that has left it.
      {{stacked + "vlan id 7 2>/dev/null || ip " + stacked + "macvlan"}, {"rmnet_data0.7"}},
      {{"link add br0 type bridge", "link set rmnet_data0.7 master br0", "link set rmnet_data0.7 nomaster"},
       {"br0", "rmnet_data0.7"}},
      {{"addr add 10.64.0.6/30 dev rmnet_data0.7"}, {"rmnet_data0.7"}},
      {{"link del rmnet_data0.7"}, {"rmnet_data0.7"}},
      // A rename is reported under both names, later changes under the new one; a deletion names who is gone.
      {{"link set rmnet_data0 down"}, {"rmnet_data0"}},
      {{"link set rmnet_data0 name rmnet_data5"}, {"rmnet_data0", "rmnet_data5"}},
      {{"addr add 10.64.0.2/30 dev rmnet_data5"}, {"rmnet_data5"}},
      {{"link del rmnet_data5"}, {"rmnet_data5", "carrier0"}},
      {{"link add rmnet_data0 type veth peer name carrier0"}, {"rmnet_data0", "carrier0"}}};
  for (const auto& step : steps) {
    for (const auto& change : step.changes) Ip(change);
    EXPECT_TRUE(reports.Bring(step.names)) << step.changes[0];
  }
}

TEST_F(NetworkManagerTest, ChangesThatCameTooFastAreMadeGood) {
  Ip("link add gone0 type bridge");
  Ip("link add quiet0 type bridge");
  Happening held, go;
  auto monitor = InterfaceMonitor::Create(
      [&, first = true](EventDic& event) mutable {
        if (std::exchange(first, false)) {
          held.Happen();
          EXPECT_TRUE(go.Awaited());
        }
        reports.Add(event);
      },
      16 * 1024);  // Room for some messages of both links, not for hundreds.
  monitor->Start();
  Flip("carrier0");
  ASSERT_TRUE(held.Awaited());

  // While the callback is held up, 500 changes fill the buffer; what follows finds no room in it.
  for (int i = 0; i < 500; ++i) Flip(i % 2 == 0 ? "carrier0" : "rmnet_data0");
  Ip("link del gone0");
  Ip("link set rmnet_data0 name rmnet_data5");
  Ip("link add rmnet_data1 type bridge");
  go.Happen();
  EXPECT_TRUE(reports.Bring({"lo", "carrier0", "gone0", "quiet0", "rmnet_data0", "rmnet_data5", "rmnet_data1"}));

  // The names are the new ones, although older messages were still waiting: an IPv6 address's message carries none.
  Ip("addr add fd64::2/64 dev rmnet_data5");
  EXPECT_TRUE(reports.Bring({"rmnet_data5"}));
  monitor.reset();
  EXPECT_TRUE(before.Returns());
}

TEST_F(NetworkManagerTest, AMessageThatWasCutShortAndAnAnswerThatLinksChangedUnder) {
  // More than fits: as if it had been dropped.
  NetworkManager manager;
  manager.SetEventCb(Recorder());
  test::OnNextDatagram([](msghdr& message) { message.msg_flags |= MSG_TRUNC; });
  Flip("carrier0");
  EXPECT_TRUE(reports.Bring({"lo", "carrier0", "rmnet_data0"}));
  manager.UnsetEventCb();

  // While the kernel tells all links, one goes and one comes: it says so, and is asked once more.
  Ip("link add gone0 type bridge");
  test::OnNextDatagram([](msghdr& message) {
    reinterpret_cast<nlmsghdr*>(message.msg_iov->iov_base)->nlmsg_flags |= NLM_F_DUMP_INTR;
    Ip("link del gone0");
    Ip("link add late0 type bridge");
  });
  std::map<int, std::string> links;
  EXPECT_TRUE(ReadLinks(links));
  std::set<std::string> names;
  for (const auto& [index, name] : links) names.insert(name);
  EXPECT_TRUE(names.count("late0") == 1 && names.count("gone0") == 0);
  Ip("link del late0");
}

TEST_F(NetworkManagerTest, NothingComesAfterUnsetOrTheObjectsEnd) {
  std::atomic<bool> done{false};
  std::thread changes([&] {
    while (!done) Flip("carrier0");
  });
  const ProcessState busy = ProcessState::Now();
  for (int round = 0; round < 60; ++round) {
    const auto subscribed = std::make_shared<std::atomic<bool>>(true);
    const auto calls = std::make_shared<std::atomic<int>>(0);
    std::optional<NetworkManager> manager(std::in_place);
    manager->UnsetEventCb();
    manager->SetEventCb([=](EventDic&) {
      EXPECT_TRUE(*subscribed);
      ++*calls;
    });
    EXPECT_TRUE(round % 2 == 0 || Eventually([&] { return *calls > 0; }));
    if (round % 3 == 0) manager->UnsetEventCb();
    if (round % 3 == 1) manager->SetEventCb([](EventDic&) {});
    if (round % 3 == 2) manager.reset();
    *subscribed = false;
  }
  EXPECT_TRUE(busy.Returns());
  done = true;
  changes.join();
}

TEST_F(NetworkManagerTest, WhatThereIsNoMemoryForLeavesNothingBehind) {
  {
    NetworkManager manager;
    const auto subscribe = [&](int left) {
      std::function<void(EventDic&)> cb = Recorder();
      const test::NoMemory none(left);
      manager.SetEventCb(std::move(cb));
    };
    EXPECT_LT(4, test::FailUntilThereIsMemory(subscribe, [] {}));
    Flip("carrier0");
    EXPECT_TRUE(reports.Bring({"carrier0"}));
  }
  EXPECT_TRUE(before.Returns());
}

TEST_F(NetworkManagerTest, OnlyTheKernelIsBelieved) {
  NetworkManager manager;
  manager.SetEventCb(Recorder());
  test::OnNextDatagram([](msghdr& message) { static_cast<sockaddr_nl*>(message.msg_name)->nl_pid = 4711; });
  Ip("addr add 127.0.0.9/8 dev lo");
  Flip("carrier0");
  EXPECT_TRUE(Eventually([&] { return reports.Have("carrier0"); }));
  EXPECT_FALSE(reports.Have("lo"));
}

TEST_F(NetworkManagerTest, TheCallbackMayEndReplaceAndThrow) {
  // What it throws costs no event, not even the second one of a rename.
  Ip("link add temp0 type bridge");
  std::optional<NetworkManager> manager(std::in_place);
  manager->SetEventCb([&](EventDic& event) {
    reports.Add(event);
    throw std::runtime_error("not today");
  });
  Ip("link set temp0 name temp1");
  EXPECT_TRUE(reports.Bring({"temp0", "temp1"}));

  // Replaced from inside: the successor gets what comes from then on.
  std::atomic<int> calls{0};
  Happening replaced;
  manager->SetEventCb([&](EventDic&) {
    ++calls;
    manager->SetEventCb(Recorder());
    Flip("rmnet_data0");
    replaced.Happen();
  });
  Flip("carrier0");
  ASSERT_TRUE(replaced.Awaited());
  EXPECT_TRUE(reports.Bring({"rmnet_data0"}));
  EXPECT_EQ(1, calls);

  // Unset, or destroyed with the object, from inside: it returns, runs no more (a rename is two events), and its thread
  // ends by itself.
  for (const bool destroy : {false, true}) {
    calls = 0;
    Happening ended;
    manager->SetEventCb([&](EventDic&) {
      ++calls;
      for (int i = 0; i < 10; ++i) Flip("carrier0");
      destroy ? manager.reset() : manager->UnsetEventCb();
      ended.Happen();
    });
    Ip(destroy ? "link set temp0 name temp1" : "link set temp1 name temp0");
    ASSERT_TRUE(ended.Awaited());
    EXPECT_TRUE(before.Returns());
    EXPECT_EQ(1, calls);
  }
}

}  // namespace
}  // namespace kor::util
