// SPDX-License-Identifier: Apache-2.0
#include "at/at_terminal.h"

#include <sys/epoll.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <utility>

namespace kor::modem {

AtTerminal::AtTerminal(int epoll_fd, PtyOpens& opens, AtBackend backend)
    : epoll_fd_(epoll_fd),
      pty_(opens),
      timer_fd_(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC), "timerfd_create"),
      dialog_(std::move(backend)) {
  AddForReading(epoll_fd, timer_fd_.get());
}

void AtTerminal::LimitWait(std::chrono::milliseconds limit) {
  holding_ = false;
  SetTimer(std::max(limit, std::chrono::milliseconds(1)));
}

// 0 stops it.
void AtTerminal::SetTimer(std::chrono::milliseconds time) {
  const auto ms = time.count();
  itimerspec due{};
  due.it_value.tv_sec = static_cast<time_t>(ms / 1000);
  due.it_value.tv_nsec = static_cast<long>(ms % 1000) * 1'000'000;
  timerfd_settime(timer_fd_.get(), 0, &due, nullptr);
}

void AtTerminal::TakeTimeout() {
  uint64_t times = 0;
  if (read(timer_fd_.get(), &times, sizeof(times)) <= 0) return;
  if (dialog_.waiting()) dialog_.Answer(false, "");
  if (holding_) dialog_.ShowHeld();
  holding_ = false;
}

void AtTerminal::LimitHold() {
  if (dialog_.holds_back() == holding_) return;
  holding_ = dialog_.holds_back();
  SetTimer(holding_ ? kMaxHold : std::chrono::milliseconds(0));
}

void AtTerminal::HangUp() {
  dialog_.HangUp();
  pty_.SetMode();
}

void AtTerminal::HandleReady() {
  Serve();
  Update();
}

void AtTerminal::Serve() {
  char buffer[4096];
  const size_t size = dialog_.wants_input() ? pty_.Read(buffer, sizeof(buffer)) : 0;
  // Asked after the reading: when the next program has typed already, the last one's leaving is known here.
  if (pty_.TakeLeaving()) HangUp();
  TakeTimeout();
  if (size == 0) return;
  used_ = true;
  if (pty_.IsOpen()) pty_.NoteUse();
  dialog_.Type({buffer, size});
}

// Nobody is there any more: what was typed before is still executed, but nothing is waited for. Only after a session
// that was used, because Flush() itself is seen as one. The kernel keeps for the next program what this one did not
// read, so it is forgotten before anything that the next one types is looked at.
void AtTerminal::EndSession() {
  while (used_ && !pty_.IsOpen()) {
    HangUp();
    used_ = false;
    (void)pty_.Flush();
    Serve();
  }
}

// Looks for the session's end itself: an unsolicited text or an answer may come before the terminals' thread has seen
// it.
void AtTerminal::Update() {
  EndSession();
  const bool open = pty_.IsOpen();
  while (!dialog_.output().empty()) {
    const size_t size = open ? pty_.Write(dialog_.output()) : dialog_.output().size();
    if (size == 0) break;
    used_ = used_ || open;
    dialog_.Shown(size);
  }
  LimitHold();
  Watch(open);
}

void AtTerminal::Watch(bool open) {
  epoll_event wanted{};
  if (dialog_.wants_input()) wanted.events |= EPOLLIN;
  if (!dialog_.output().empty()) wanted.events |= EPOLLOUT;
  if (open) {
    watched_ = epoll_ctl(epoll_fd_, watched_ ? EPOLL_CTL_MOD : EPOLL_CTL_ADD, pty_.fd(), &wanted) == 0;
  } else if (watched_) {
    watched_ = epoll_ctl(epoll_fd_, EPOLL_CTL_DEL, pty_.fd(), nullptr) != 0;
  }
}

}  // namespace kor::modem
