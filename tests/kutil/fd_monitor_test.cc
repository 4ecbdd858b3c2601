// SPDX-License-Identifier: Apache-2.0
#include "common/util/fd_monitor.h"

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "kutil/probes.h"
#include "support/files.h"
#include "support/no_memory.h"
#include "support/syslog_reader.h"

namespace kor::util {
namespace {

using test::Eventually;
using test::Happening;
using test::ProcessState;

// A descriptor that is ready from Ring() until Answer().
class Bell {
 public:
  ~Bell() { close(fd); }
  void Ring() const { eventfd_write(fd, 1); }
  // Blocks when nobody has rung.
  void Answer() const {
    eventfd_t count = 0;
    eventfd_read(fd, &count);
  }

  const int fd = eventfd(0, EFD_CLOEXEC);
};

std::string ThreadStatus(pid_t thread, const std::string& key) {
  std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/status");
  for (std::string word; file >> word;) {
    if (word == key + ":" && file >> word) return word;
  }
  return "no " + key;
}

pid_t ThreadNamed(const std::string& name) {
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    if (test::ReadFile(task.path() / "comm") == name + "\n") return std::stoi(task.path().filename());
  }
  return 0;
}

class FdMonitorTest : public testing::Test {
 protected:
  // With its thread, which stays.
  FdMonitorTest() {
    Add(door, [] {});
    Remove(door);
    before = ProcessState::Now();
  }

  void Add(const Bell& bell, std::function<void()> cb) {
    monitor.Add(bell.fd, FdType::kRead, [&bell, cb = std::move(cb)](int, FdType) {
      bell.Answer();
      cb();
    });
  }
  void Remove(const Bell& bell) { monitor.Remove(bell.fd, FdType::kRead); }

  FdMonitor& monitor = *FdMonitor::Create();
  Bell door, phone;
  ProcessState before{};
};

TEST_F(FdMonitorTest, MonitorsAreFoundByNumber) {
  unsigned int count = 0;
  while (FdMonitor::Get(count) != nullptr) ++count;
  ASSERT_LT(0u, count);
  EXPECT_EQ(&monitor, FdMonitor::Get(count - 1));
  FdMonitor* const next = FdMonitor::Create();
  EXPECT_EQ(next, FdMonitor::Get(count));
  EXPECT_EQ(nullptr, FdMonitor::Get(count + 1));
}

TEST_F(FdMonitorTest, CallsBackOnItsOwnThread) {
  // The callback gets what was asked for, on a thread of the monitor's. Its signal mask is that of the thread that
  // added the descriptor: programs started from a callback inherit it, and one that blocks all signals cannot be
  // stopped.
  Happening rung;
  pid_t thread = 0;
  monitor.Add(door.fd, FdType::kRead, [&](int fd, FdType type) {
    EXPECT_EQ(door.fd, fd);
    EXPECT_EQ(FdType::kRead, type);
    door.Answer();
    thread = gettid();
    rung.Happen();
  });
  door.Ring();
  ASSERT_TRUE(rung.Awaited());
  EXPECT_NE(gettid(), thread);
  EXPECT_EQ(ThreadStatus(gettid(), "SigBlk"), ThreadStatus(thread, "SigBlk"));

  // A second callback for the descriptor takes the first one's place.
  Happening replaced;
  Add(door, [&] { replaced.Happen(); });
  door.Ring();
  EXPECT_TRUE(replaced.Awaited());
  Remove(door);
  EXPECT_TRUE(before.Returns());
}

TEST_F(FdMonitorTest, SurvivesWhatCallbacksThrowAndWhatCannotBeWatched) {
  test::SyslogReader syslog;
  Add(door, [] { throw std::runtime_error("the door is stuck"); });
  Happening rung;
  Add(phone, [&] { rung.Happen(); });
  door.Ring();
  ASSERT_TRUE(Eventually([&] { return syslog.TakeWith("A callback failed: the door is stuck").size() == 1; }));
  phone.Ring();
  EXPECT_TRUE(rung.Awaited());
  Remove(door);
  Remove(phone);

  // A closed descriptor is refused and leaves nothing behind; removing it, or anything unknown, is no error.
  const ProcessState quiet = ProcessState::Now();
  monitor.Add(999, FdType::kRead, [](int, FdType) {});
  EXPECT_EQ(1u, syslog.TakeWith("Cannot watch descriptor 999: Bad file descriptor").size());
  monitor.Remove(999, FdType::kRead);
  Remove(door);
  EXPECT_TRUE(quiet.Returns());
}

// Regression: a descriptor was armed, then there was no memory for its watch, and the thread never slept again; when
// there was none for the thread, descriptors were lost.
TEST(FdMonitorMemoryTest, WhatThereIsNoMemoryForIsNotHalfWatched) {
  const Bell bells[2];
  const ProcessState before = ProcessState::Now();
  FdMonitor& monitor = *FdMonitor::Create();
  for (const Bell& bell : bells) {  // The first one brings the thread.
    bell.Ring();
    Happening rung;
    const auto add = [&](int left) {
      std::function<void(int, FdType)> cb = [&](int, FdType) {
        bell.Answer();
        rung.Happen();
      };
      const test::NoMemory none(left);
      monitor.Add(bell.fd, FdType::kRead, std::move(cb));
    };
    EXPECT_LT(1, test::FailUntilThereIsMemory(add, [] {
                const pid_t thread = ThreadNamed("kutil-fd");
                EXPECT_TRUE(thread == 0 || Eventually([&] { return ThreadStatus(thread, "State") == "S"; }));
              }));
    EXPECT_TRUE(rung.Awaited());
  }
  for (const Bell& bell : bells) monitor.Remove(bell.fd, FdType::kRead);
  EXPECT_TRUE((ProcessState{before.threads + 1, before.fds + 1}.Returns()));
}

TEST_F(FdMonitorTest, RemoveWaitsForItsCallbackAndForNoOther) {
  Happening inside, leave;
  std::atomic<bool> left{false};
  Add(door, [&] {
    inside.Happen();
    EXPECT_TRUE(leave.Awaited());
    left = true;
  });
  Add(phone, [] {});
  door.Ring();
  ASSERT_TRUE(inside.Awaited());

  // Two callers want the door removed: both wait.
  std::future<void> removers[2];
  for (auto& remover : removers) {
    remover = std::async(std::launch::async, [&] {
      Remove(door);
      EXPECT_TRUE(left);
    });
  }
  for (auto& remover : removers) {
    EXPECT_EQ(std::future_status::timeout, remover.wait_for(std::chrono::milliseconds(30)));
  }

  // The phone is not the one that is running.
  Remove(phone);
  EXPECT_FALSE(left);
  leave.Happen();
  for (auto& remover : removers) remover.get();
  EXPECT_TRUE(before.Returns());
}

TEST_F(FdMonitorTest, CallbacksMayRemoveThemselvesAndAddOthers) {
  // The door removes itself, the last one, and is replaced by the phone, which still waits for its turn.
  Happening answered;
  std::atomic<bool> door_done{false};
  phone.Ring();
  Add(door, [&] {
    Remove(door);
    Add(phone, [&] {
      EXPECT_TRUE(door_done);
      Remove(phone);
      answered.Happen();
    });
    door.Ring();  // Nobody listens any more.
    std::this_thread::yield();
    door_done = true;
  });
  door.Ring();
  EXPECT_TRUE(answered.Awaited());
  EXPECT_TRUE(before.Returns());

  // The door is still ringing: it is heard as soon as it is added again.
  Happening rung;
  Add(door, [&] { rung.Happen(); });
  EXPECT_TRUE(rung.Awaited());
  Remove(door);
  EXPECT_TRUE(before.Returns());
}

// Regression: an event is fetched from the kernel together with others; by its turn, its descriptor may have been
// closed and its number given to another one, whose callback would then block in its read.
TEST_F(FdMonitorTest, AnEventNeverReachesTheNextOwnerOfItsNumber) {
  Bell hold;
  Happening held, go, next_rung;
  std::unique_ptr<Bell> bells[2] = {std::make_unique<Bell>(), std::make_unique<Bell>()};
  int fds[2] = {bells[0]->fd, bells[1]->fd};
  Add(hold, [&] {
    held.Happen();
    EXPECT_TRUE(go.Awaited());
  });
  // Whichever comes first replaces the other.
  for (int i = 0; i < 2; ++i) {
    Add(*bells[i], [&, other = 1 - i] {
      Remove(*bells[other]);
      bells[other].reset();
      bells[other] = std::make_unique<Bell>();
      EXPECT_EQ(fds[other], bells[other]->fd);
      Add(*bells[other], [&] { next_rung.Happen(); });
      Remove(*bells[1 - other]);
      phone.Ring();
    });
  }
  Happening both_done;
  Add(phone, [&] { both_done.Happen(); });
  hold.Ring();
  ASSERT_TRUE(held.Awaited());
  for (const auto& bell : bells) bell->Ring();
  go.Happen();
  ASSERT_TRUE(both_done.Awaited()) << "the new descriptor's callback ran and blocks";
  EXPECT_FALSE(next_rung.HappensWithin(std::chrono::milliseconds(0)));
  for (const auto& bell : bells) bell->Ring();
  EXPECT_TRUE(next_rung.Awaited());
  for (const auto& bell : bells) Remove(*bell);
  Remove(hold);
  Remove(phone);
}

TEST_F(FdMonitorTest, ARemovedCallbackIsNotRunningAndGoneWhateverTheOthersDo) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([this] {
      const Bell bell;
      bell.Ring();
      for (int round = 0; round < 300; ++round) {
        std::atomic<int> calls{0};
        std::atomic<bool> removed{false};
        const auto held = std::make_shared<int>();
        // Unanswered, the bell calls again and again.
        monitor.Add(bell.fd, FdType::kRead, [&, held](int, FdType) {
          EXPECT_FALSE(removed);
          ++calls;
        });
        while (calls == 0) std::this_thread::yield();
        monitor.Remove(bell.fd, FdType::kRead);
        removed = true;
        EXPECT_EQ(1, held.use_count());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(before.Returns());
}

}  // namespace
}  // namespace kor::util
