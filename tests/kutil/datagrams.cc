// SPDX-License-Identifier: Apache-2.0
#include "kutil/datagrams.h"

#include <utility>

#include "common/mutex.h"

namespace kor::test {
namespace {

kor::util::Mutex g_mutex;
std::function<void(msghdr&)> g_change KOR_GUARDED_BY(g_mutex);

std::function<void(msghdr&)> TakeChange() {
  kor::util::MutexLock lock(g_mutex);
  return std::exchange(g_change, nullptr);
}

}  // namespace

void OnNextDatagram(std::function<void(msghdr& message)> change) {
  kor::util::MutexLock lock(g_mutex);
  g_change = std::move(change);
}

// Under the names that the linker's option --wrap asks for.
ssize_t RealRecvmsg(int fd, msghdr* message, int flags) __asm__("__real_recvmsg");
ssize_t WrappedRecvmsg(int fd, msghdr* message, int flags) __asm__("__wrap_recvmsg");

ssize_t WrappedRecvmsg(int fd, msghdr* message, int flags) {
  const ssize_t size = RealRecvmsg(fd, message, flags);
  if (size <= 0) return size;
  if (const auto change = TakeChange()) change(*message);
  return size;
}

}  // namespace kor::test
