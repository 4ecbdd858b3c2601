// SPDX-License-Identifier: Apache-2.0
#include "at/pty.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>

#include <cstdlib>

namespace kor::modem {

namespace {

constexpr int kOpenFlags = O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC;

void Check(int result, const char* what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
}

// The path of the other end, which is there for others from now on.
std::string Unlock(int master) {
  char path[64] = "";
  Check(unlockpt(master), "unlockpt");
  Check(-ptsname_r(master, path, sizeof(path)), "ptsname_r");
  return path;
}

size_t Transferred(ssize_t size) { return size > 0 ? static_cast<size_t>(size) : 0; }

}  // namespace

Pty::Pty(PtyOpens& opens) : opens_(opens), master_(posix_openpt(kOpenFlags), "/dev/ptmx"), path_(Unlock(fd())) {
  Check(tcgetattr(fd(), &raw_), "tcgetattr");
  cfmakeraw(&raw_);
  SetMode();
  // This opens and closes the other end: until then it would not look closed.
  Check(Flush() ? 0 : -1, path_.c_str());
  watch_ = opens_.Watch(path_);
}

bool Pty::IsOpen() const {
  pollfd look{fd(), 0, 0};
  return poll(&look, 1, 0) == 0;
}

size_t Pty::Read(char* buffer, size_t size) { return Transferred(read(fd(), buffer, size)); }

size_t Pty::Write(std::string_view text) {
  StopEcho();
  return Transferred(write(fd(), text.data(), text.size()));
}

void Pty::StopEcho() {
  termios mode{};
  if (tcgetattr(fd(), &mode) != 0 || (mode.c_lflag & ECHO) == 0) return;
  mode.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  tcsetattr(fd(), TCSANOW, &mode);
}

void Pty::SetMode() { tcsetattr(fd(), TCSANOW, &raw_); }

bool Pty::Flush() {
  tcflush(fd(), TCOFLUSH);
  const int other_end = ioctl(fd(), TIOCGPTPEER, kOpenFlags);
  if (other_end < 0) return false;
  tcflush(other_end, TCIFLUSH);
  close(other_end);
  return true;
}

}  // namespace kor::modem
