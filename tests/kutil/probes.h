// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <future>
#include <iterator>
#include <memory>
#include <string>
#include <thread>

#include "support/wait.h"

namespace kor::test {

// Something that happens once, on any thread.
class Happening {
 public:
  // Whoever waits may destroy this object at once.
  void Happen() {
    const auto promise = promise_;
    promise->set_value();
  }
  bool Awaited() const { return future_.wait_for(kLongEnough) == std::future_status::ready; }
  bool HappensWithin(std::chrono::milliseconds time) const {
    return future_.wait_for(time) == std::future_status::ready;
  }

 private:
  const std::shared_ptr<std::promise<void>> promise_ = std::make_shared<std::promise<void>>();
  const std::shared_future<void> future_ = promise_->get_future().share();
};

// What the process holds of threads and descriptors, to be compared with what it held before.
struct ProcessState {
  static ProcessState Now() {
    pid_t first = 0;  // With the first thread, a sanitizer starts one of its own.
    std::thread([&first] { first = gettid(); }).join();
    (void)Eventually([&] { return access(("/proc/self/task/" + std::to_string(first)).c_str(), F_OK) != 0; });
    return {Count("/proc/self/task"), Count("/proc/self/fd")};
  }

  // Waits: threads end by themselves, and one that was joined is listed for a moment more.
  bool Returns() const {
    return Eventually([this] { return Count("/proc/self/task") == threads && Count("/proc/self/fd") == fds; });
  }

  static long Count(const char* directory) {
    namespace fs = std::filesystem;
    return std::distance(fs::directory_iterator(directory), fs::directory_iterator());
  }

  long threads;
  long fds;
};

inline void Ip(const std::string& arguments) { ASSERT_EQ(0, system(("ip " + arguments).c_str())) << arguments; }

// With a pair of interfaces in the sandbox.
class LinkTest : public testing::Test {
 protected:
  LinkTest() { Ip("link add rmnet_data0 type veth peer name carrier0"); }
  ~LinkTest() override { Ip("link del carrier0"); }
};

}  // namespace kor::test
