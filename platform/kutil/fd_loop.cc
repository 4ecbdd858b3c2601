// SPDX-License-Identifier: Apache-2.0
#include "kutil/fd_loop.h"

#include <pthread.h>
#include <sys/epoll.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "common/log.h"
#include "kutil/guarded_call.h"

namespace kor::util {

namespace {

constexpr int kEventsAtOnce = 16;  // What is ready beyond that comes with the next call.

bool Arm(int epoll_fd, int operation, int fd, uint64_t token) {
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.u64 = token;
  return epoll_ctl(epoll_fd, operation, fd, &event) == 0;
}

}  // namespace

void FdLoop::Add(int fd, Callback cb) {
  auto watch = std::make_shared<Watch>();
  watch->fd = fd;
  watch->cb = std::move(cb);
  int error = 0;
  {
    MutexLock lock(mutex_);
    if (!WatchLocked(watch)) error = errno;
  }
  if (error != 0) KOR_LOG(LOG_ERR, "Cannot watch descriptor %d: %s\n", fd, strerror(error));
}

// On success `watch` becomes the watch that was replaced, if any: its callback is destroyed outside the lock.
bool FdLoop::WatchLocked(std::shared_ptr<Watch>& watch) {
  if (!StartLocked()) return false;
  watch->token = ++last_token_;
  // Its place before its arming: a descriptor that is armed and has none would keep the thread busy for ever.
  std::shared_ptr<Watch>& place = watches_[watch->fd];
  if (Arm(epoll_fd_, EPOLL_CTL_ADD, watch->fd, watch->token) ||
      (errno == EEXIST && Arm(epoll_fd_, EPOLL_CTL_MOD, watch->fd, watch->token))) {
    place.swap(watch);
    return true;
  }
  if (place == nullptr) watches_.erase(watch->fd);
  return false;
}

bool FdLoop::StartLocked() {
  if (thread_ != std::thread::id()) return true;
  if (epoll_fd_ == -1) epoll_fd_ = epoll_create1(EPOLL_CLOEXEC);  // Kept for the next try when there is no thread.
  if (epoll_fd_ == -1) return false;
  try {
    std::thread thread([this, epoll_fd = epoll_fd_] { Main(epoll_fd); });
    thread_ = thread.get_id();
    thread.detach();
    return true;
  } catch (const std::system_error& e) {
    errno = e.code().value();
    return false;
  }
}

void FdLoop::Remove(int fd) {
  std::shared_ptr<Watch> removed;
  {
    MutexLock lock(mutex_);
    const auto found = watches_.find(fd);
    if (found != watches_.end()) {
      removed = std::move(found->second);
      watches_.erase(found);
      epoll_ctl(epoll_fd_, EPOLL_CTL_DEL, fd, nullptr);
    }
    if (thread_ == std::this_thread::get_id()) return;
    AwaitCallbackLocked(fd);
  }
  if (removed != nullptr) removed->cb = nullptr;  // The thread may hold the watch, but not call it, for a moment more.
}

void FdLoop::AwaitCallbackLocked(int fd) {
  const std::shared_ptr<Watch> running = running_;
  if (running == nullptr || running->fd != fd) return;
  while (running_ == running) running->finished.Wait(mutex_);
  running->finished.Signal();
}

void FdLoop::Main(int epoll_fd) {
  pthread_setname_np(pthread_self(), "kutil-fd");
  for (;;) {
    epoll_event events[kEventsAtOnce];
    const int count = epoll_wait(epoll_fd, events, kEventsAtOnce, -1);  // Interrupted: -1, and once more.
    for (int i = 0; i < count; ++i) {
      const std::shared_ptr<Watch> watch = BeginCallback(events[i].data.u64);
      if (watch == nullptr) continue;
      GuardedCall(watch->cb);
      EndCallback();
    }
  }
}

// Null when it was removed since the kernel reported it.
std::shared_ptr<FdLoop::Watch> FdLoop::BeginCallback(uint64_t token) {
  MutexLock lock(mutex_);
  const auto found = std::find_if(watches_.begin(), watches_.end(),
                                  [token](const auto& entry) { return entry.second->token == token; });
  if (found == watches_.end()) return nullptr;
  running_ = found->second;
  return running_;
}

void FdLoop::EndCallback() {
  MutexLock lock(mutex_);
  running_->finished.Signal();
  running_ = nullptr;
}

}  // namespace kor::util
