// SPDX-License-Identifier: Apache-2.0
#include "at/pty_opens.h"

#include <sys/inotify.h>

#include <algorithm>
#include <utility>

namespace kor::modem {

PtyOpens::PtyOpens() : fd_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC), "inotify_init1") {}

int PtyOpens::Watch(const std::string& path) {
  const int watch = inotify_add_watch(fd(), path.c_str(), IN_OPEN | IN_CLOSE);
  if (watch < 0) throw std::system_error(errno, std::generic_category(), path);
  opens_[watch] = {};
  return watch;
}

bool PtyOpens::TakeLeaving(int watch) {
  Notice();
  return std::exchange(opens_[watch].left, false);
}

void PtyOpens::NoteUse(int watch) {
  int& count = opens_[watch].count;
  count = std::max(count, 1);
}

bool PtyOpens::TakeNews() {
  Notice();
  return std::exchange(news_, false);
}

void PtyOpens::Notice() {
  alignas(inotify_event) char buffer[4096];
  for (ssize_t size = 0; (size = read(fd(), buffer, sizeof(buffer))) > 0;) {
    news_ = true;
    // The watch of a single file gives no names: all events are of the same size.
    for (ssize_t at = 0; at < size; at += static_cast<ssize_t>(sizeof(inotify_event))) {
      const auto* const event = reinterpret_cast<const inotify_event*>(buffer + at);
      Opens& opens = opens_[event->wd];
      if ((event->mask & IN_OPEN) != 0) ++opens.count;
      if ((event->mask & IN_CLOSE) != 0 && opens.count > 0 && --opens.count == 0) opens.left = true;
    }
  }
}

}  // namespace kor::modem
