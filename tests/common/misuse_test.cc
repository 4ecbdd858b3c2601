// SPDX-License-Identifier: Apache-2.0
// The checks of debug builds, and that the order they hold threads to is the one that is written down.
#include "common/misuse.h"

#include <gtest/gtest.h>

#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "common/event_cb_map.h"
#include "support/files.h"

namespace kor::util {
namespace {

std::vector<std::string> Matches(const std::string& text, const char* pattern) {
  const std::regex regex(pattern);
  std::vector<std::string> found;
  for (std::sregex_iterator it(text.begin(), text.end(), regex); it != std::sregex_iterator(); ++it)
    found.push_back((*it)[1]);
  return found;
}

TEST(MisuseTest, ThePageHasTheRanksInTheirOrder) {
  const std::string source(KWWAN_SOURCE);
  const auto page = Matches(test::ReadFile(source + "/docs/architecture.md"), "\n\\| [0-9]+ \\| `(k[A-Za-z]+)` \\|");
  auto ranks = Matches(test::ReadFile(source + "/src/common/misuse.h"), "\n  (k[A-Za-z]+),");
  ASSERT_EQ(static_cast<size_t>(LockRank::kLast) + 1, ranks.size());
  ranks.erase(ranks.begin());  // kNone.
  EXPECT_EQ(ranks, page);
}

TEST(MisuseTest, IsCheckedInADebugBuild) { EXPECT_EQ(KWWAN_CHECKS_WANTED, misuse::kChecked); }

#ifdef KWWAN_MISUSE_CHECKS

TEST(MisuseDeathTest, ACallbackThatUsesItsOwnTable) {
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

TEST(MisuseDeathTest, LocksTakenTwiceOrAgainstTheirOrder) {
  Mutex first(LockRank::kService);
  Mutex second(LockRank::kEventQueue);
  Mutex hosts;
  const auto take = [](std::vector<Mutex*> mutexes) KOR_THREAD_ATTRIBUTE(no_thread_safety_analysis) {
    for (Mutex* mutex : mutexes) mutex->Lock();
    for (Mutex* mutex : mutexes) mutex->Unlock();
  };
  EXPECT_DEATH(take({&hosts, &hosts}), "wants a lock that it holds");
  EXPECT_DEATH(take({&second, &hosts, &first}), "kService is wanted while kEventQueue is held, against the order");
  take({&first, &second});
  take({&second, &hosts});
  take({&first});
  // A place in memory has the rank of the mutex that is there now.
  for (const LockRank rank : {LockRank::kEventQueue, LockRank::kAtLifecycle, LockRank::kService}) {
    Mutex another(rank);
    if (rank == LockRank::kAtLifecycle) take({&another, &first});
    if (rank == LockRank::kEventQueue) take({&first, &another});
    if (rank != LockRank::kService) continue;
    EXPECT_DEATH(take({&first, &another}), "kService is wanted while kService is held");
  }
}

#endif

}  // namespace
}  // namespace kor::util
