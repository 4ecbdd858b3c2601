// SPDX-License-Identifier: Apache-2.0
#include "kutil/fd_loop.h"

#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "common/log.h"
#include "kutil/guarded_call.h"

namespace kor::util {

namespace {

constexpr uint64_t kWakeToken = 0;  // Watches count from 1.
constexpr int kEventsAtOnce = 16;   // What is ready beyond that comes with the next call.

bool Arm(int epoll_fd, int operation, int fd, uint32_t events, uint64_t token) {
  epoll_event event{};
  event.events = events;
  event.data.u64 = token;
  return epoll_ctl(epoll_fd, operation, fd, &event) == 0;
}

void CloseIfOpen(int& fd) {
  if (fd != -1) close(fd);
  fd = -1;
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
  if (run_ == nullptr && !StartLocked()) return false;
  watch->token = ++last_token_;
  // From here on a failure needs no clean-up: a thread that finds nothing to watch ends by itself.
  if (!Arm(run_->epoll_fd, EPOLL_CTL_ADD, watch->fd, EPOLLIN, watch->token) &&
      (errno != EEXIST || !Arm(run_->epoll_fd, EPOLL_CTL_MOD, watch->fd, EPOLLIN, watch->token))) {
    return false;
  }
  const auto old = std::find_if(watches_.begin(), watches_.end(),
                                [&watch](const auto& entry) { return entry.second->fd == watch->fd; });
  std::shared_ptr<Watch> replaced;
  if (old != watches_.end()) {
    replaced = std::move(old->second);
    watches_.erase(old);
  }
  watches_.emplace(watch->token, watch);
  watch = std::move(replaced);
  run_->may_leave.Signal();
  return true;
}

bool FdLoop::StartLocked() {
  auto run = std::make_shared<Run>();
  run->epoll_fd = epoll_create1(EPOLL_CLOEXEC);
  run->wake_fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  // Edge-triggered: a wake-up needs no reading back.
  if (run->epoll_fd != -1 && run->wake_fd != -1 &&
      Arm(run->epoll_fd, EPOLL_CTL_ADD, run->wake_fd, EPOLLIN | EPOLLET, kWakeToken)) {
    try {
      run->thread = std::thread([self = shared_from_this(), run] { self->Main(run); });
    } catch (const std::system_error& e) {
      errno = e.code().value();
    }
  }
  if (!run->thread.joinable()) {
    const int error = errno;
    CloseIfOpen(run->epoll_fd);
    CloseIfOpen(run->wake_fd);
    errno = error;
    return false;
  }
  run_ = std::move(run);
  return true;
}

void FdLoop::Remove(int fd) {
  std::shared_ptr<Watch> removed;
  std::thread ended;
  {
    MutexLock lock(mutex_);
    removed = TakeLocked(fd);
    if (run_ == nullptr || run_->thread.get_id() == std::this_thread::get_id()) return;
    AwaitCallbackLocked(fd);
    ended = AwaitEndLocked();
  }
  if (removed != nullptr) removed->cb = nullptr;  // The thread may hold the watch, but not call it, for a moment more.
  if (ended.joinable()) ended.join();
}

std::shared_ptr<FdLoop::Watch> FdLoop::TakeLocked(int fd) {
  const auto it =
      std::find_if(watches_.begin(), watches_.end(), [fd](const auto& entry) { return entry.second->fd == fd; });
  if (it == watches_.end()) return nullptr;
  std::shared_ptr<Watch> watch = std::move(it->second);
  watches_.erase(it);
  epoll_ctl(run_->epoll_fd, EPOLL_CTL_DEL, fd, nullptr);
  return watch;
}

void FdLoop::AwaitCallbackLocked(int fd) {
  const std::shared_ptr<Watch> running = running_;
  if (running == nullptr || running->fd != fd) return;
  while (running_ == running) running->finished.Wait(mutex_);
  running->finished.Signal();
}

// The thread to be joined when the last watch is gone. A callback that is still running, of a descriptor that is being
// removed elsewhere, is not waited for: it may need the caller. The thread ends after it.
std::thread FdLoop::AwaitEndLocked() {
  const std::shared_ptr<Run> run = run_;
  if (run == nullptr || !watches_.empty() || running_ != nullptr) return {};
  ++run->joiners;
  eventfd_write(run->wake_fd, 1);
  while (!run->ended && watches_.empty()) run->may_leave.Wait(mutex_);
  --run->joiners;
  run->may_leave.Signal();
  return run->ended ? std::move(run->thread) : std::thread();
}

void FdLoop::Main(const std::shared_ptr<Run>& run) {
  pthread_setname_np(pthread_self(), thread_name_);
  while (!EndIfIdle(*run)) {
    epoll_event events[kEventsAtOnce];
    const int count = epoll_wait(run->epoll_fd, events, kEventsAtOnce, -1);  // Interrupted: -1, and once more.
    for (int i = 0; i < count; ++i) Dispatch(events[i].data.u64);
  }
}

void FdLoop::Dispatch(uint64_t token) {
  std::shared_ptr<Watch> watch;
  {
    MutexLock lock(mutex_);
    const auto it = watches_.find(token);
    if (it == watches_.end()) return;
    watch = it->second;
    running_ = watch;
  }
  GuardedCall(watch->cb);
  MutexLock lock(mutex_);
  running_ = nullptr;
  watch->finished.Signal();
}

bool FdLoop::EndIfIdle(Run& run) {
  MutexLock lock(mutex_);
  if (!watches_.empty()) return false;
  CloseIfOpen(run.epoll_fd);
  CloseIfOpen(run.wake_fd);
  run.ended = true;
  run_ = nullptr;
  if (run.joiners == 0) {
    run.thread.detach();
  } else {
    run.may_leave.Signal();
  }
  return true;
}

}  // namespace kor::util
