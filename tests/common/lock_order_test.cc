// SPDX-License-Identifier: Apache-2.0
// The checks of debug builds.
#include "common/lock_order.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "common/event_cb_map.h"

namespace kor::util {
namespace {

TEST(LockOrderTest, IsCheckedInADebugBuild) { EXPECT_EQ(KWWAN_CHECKS_WANTED, lock_order::kChecked); }

#ifdef KWWAN_MISUSE_CHECKS

TEST(LockOrderDeathTest, ACallbackThatUsesItsOwnTable) {
  EventCbMap table;
  EventCbMap other;
  EventDic ev;
  const auto publish = [&](EventCbMap::Callback cb) {
    table.Add(nullptr, std::move(cb));
    table.Notify(ev);
  };
  EXPECT_DEATH(publish([&](EventDic&) { table.Add(&ev, nullptr); }), "adds a callback to its own table: do it when");
  EXPECT_DEATH(publish([&](EventDic&) { table.Remove(&ev); }), "removes a callback of its own table: do it when");
  EXPECT_DEATH(publish([&](EventDic&) { table.Notify(ev); }), "publishes to its own table: do it when");
  publish([&](EventDic&) {
    other.Add(&ev, nullptr);
    other.Notify(ev);
  });
  table.Remove(nullptr);
}

TEST(LockOrderDeathTest, LocksTakenTwiceOrAgainstTheirOrder) {
  Mutex first(LockRank{10, "kFirst"});
  Mutex second(LockRank{11, "kSecond"});
  Mutex twin(LockRank{10, "kTwin"});
  Mutex hosts;
  const auto take = [](std::vector<Mutex*> mutexes) KOR_THREAD_ATTRIBUTE(no_thread_safety_analysis) {
    for (Mutex* mutex : mutexes) mutex->Lock();
    for (Mutex* mutex : mutexes) mutex->Unlock();
  };
  EXPECT_DEATH(take({&hosts, &hosts}), "takes a lock that it holds");
  EXPECT_DEATH(take({&second, &hosts, &first}), "kFirst is taken while kSecond is held, against the order");
  take({&first, &second});
  take({&second, &hosts});
  take({&first});
  EXPECT_DEATH(take({&first, &twin}), "kTwin is taken while kFirst is held");
}

#endif

}  // namespace
}  // namespace kor::util
