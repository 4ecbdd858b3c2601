// SPDX-License-Identifier: Apache-2.0
// The checks of debug builds, and that the order they hold threads to is the one that is written down.
#include "common/lock_order.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "common/event_cb_map.h"
#include "support/files.h"

namespace kor::util {
namespace {

using Ranks = std::vector<std::pair<int, std::string>>;

void FindRanks(const std::string& text, const char* pattern, size_t number, size_t name, Ranks& found) {
  const std::regex regex(pattern);
  for (std::sregex_iterator it(text.begin(), text.end(), regex); it != std::sregex_iterator(); ++it) {
    found.emplace_back(std::stoi((*it)[number]), (*it)[name]);
  }
}

TEST(LockOrderTest, ThePageHasTheRanksOfAllLayersInTheirOrder) {
  const std::string source(KWWAN_SOURCE);
  Ranks ranks;
  for (const char* const room : {"/src", "/platform", "/tools"}) {
    for (const auto& file : std::filesystem::recursive_directory_iterator(source + room)) {
      if (file.path().filename() != "lock_ranks.h") continue;
      FindRanks(test::ReadFile(file.path()), R"(LockRank (k[A-Za-z]+)\{([0-9]+), "\1"\};)", 2, 1, ranks);
    }
  }
  std::sort(ranks.begin(), ranks.end());
  Ranks page;
  FindRanks(test::ReadFile(source + "/docs/architecture.md"), "\n\\| ([0-9]+) \\| `(k[A-Za-z]+)` \\|", 1, 2, page);
  EXPECT_EQ(page, ranks);
  const auto not_above = [](const auto& one, const auto& next) { return next.first <= one.first; };
  EXPECT_EQ(page.end(), std::adjacent_find(page.begin(), page.end(), not_above));
}

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
