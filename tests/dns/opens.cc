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

// Under the names that the linker's option --wrap asks for; open64 where sizes of files have 64 bits on 32 bit systems.
int RealOpen(const char* path, int flags, ...) __asm__("__real_open");
int RealOpen64(const char* path, int flags, ...) __asm__("__real_open64");
int WrappedOpen(const char* path, int flags, mode_t mode) __asm__("__wrap_open");
int WrappedOpen64(const char* path, int flags, mode_t mode) __asm__("__wrap_open64");

int WrappedOpen(const char* path, int flags, mode_t mode) {
  Note(path, flags);
  return RealOpen(path, flags, mode);
}

int WrappedOpen64(const char* path, int flags, mode_t mode) {
  Note(path, flags);
  return RealOpen64(path, flags, mode);
}

}  // namespace kor::test
