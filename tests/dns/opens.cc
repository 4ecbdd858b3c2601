// SPDX-License-Identifier: Apache-2.0
#include "dns/opens.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

namespace kor::test {
namespace {

std::atomic<int> g_looks{0};
std::atomic<std::chrono::milliseconds> g_delay{};

void Note(const char* path, int flags) {
  EXPECT_NE(0, flags & O_CLOEXEC) << path;
  if (strncmp(path, "/proc/", 6) == 0) ++g_looks;
  std::this_thread::sleep_for(g_delay.load());
}

}  // namespace

int Opens::TakeLooksAtProcesses() { return g_looks.exchange(0); }

void Opens::Delay(std::chrono::milliseconds delay) { g_delay = delay; }

// The names that the linker's option --wrap asks for; open64 where files' sizes have 64 bits beside a 32 bit system's.
extern "C" {
int __real_open(const char* path, int flags, ...);
int __real_open64(const char* path, int flags, ...);

int __wrap_open(const char* path, int flags, mode_t mode) {
  Note(path, flags);
  return __real_open(path, flags, mode);
}

int __wrap_open64(const char* path, int flags, mode_t mode) {
  Note(path, flags);
  return __real_open64(path, flags, mode);
}
}

}  // namespace kor::test
