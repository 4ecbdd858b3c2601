// SPDX-License-Identifier: Apache-2.0
#include "kwwand/host/readiness.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "shared/escape.h"

namespace kor::host {

namespace {

constexpr char kReady[] = "\n";  // What the starter hears of a host that is ready; anything else is a reason.

std::string ReadAll(int fd) {
  std::string text;
  char chunk[512];
  ssize_t n = 0;
  while ((n = read(fd, chunk, sizeof(chunk))) > 0 || (n < 0 && errno == EINTR)) {
    if (n > 0) text.append(chunk, static_cast<size_t>(n));
  }
  return text;
}

// A reason may quote a file that others write.
void Say(const std::string& why) { (void)fprintf(stderr, "kwwand: %s\n", kor::tools::Escape(why).c_str()); }

// The starter's end.
[[noreturn]] void AwaitVerdict(int fd) {
  const std::string text = ReadAll(fd);
  if (text == kReady) _exit(EXIT_SUCCESS);
  Say(text.empty() ? "ended before it was ready; the log may say why" : text);
  _exit(EXIT_FAILURE);
}

// Goes on in a child; the parent ends.
void LeaveParent() {
  const pid_t child = fork();
  if (child < 0) throw kor::tools::SystemError("cannot go into the background");
  if (child > 0) _exit(EXIT_SUCCESS);
}

// What the starter has left open is not the host's to keep: a lock, or a pipe at whose other end somebody waits.
void CloseInherited() {
  std::vector<int> open;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    open.push_back(std::stoi(entry.path().filename()));
  }
  for (const int fd : open) {
    if (fd > STDERR_FILENO) close(fd);
  }
}

void LetGoOfTerminal() {
  const Fd null(open("/dev/null", O_RDWR | O_CLOEXEC));
  if (!null.is_open()) throw kor::tools::SystemError("/dev/null");
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(null.get(), stream);
  if (chdir("/") != 0) throw kor::tools::SystemError("/");
}

}  // namespace

Readiness::Readiness() {
  const char* path = getenv("NOTIFY_SOCKET");
  if (path != nullptr) notify_socket_ = path;
  unsetenv("NOTIFY_SOCKET");
}

void Readiness::Detach() {
  CloseInherited();
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw kor::tools::SystemError("pipe");
  Fd read_end(ends[0]);
  starter_ = Fd(ends[1]);
  const pid_t child = fork();
  if (child < 0) throw kor::tools::SystemError("cannot go into the background");
  if (child > 0) {
    starter_.Close();
    AwaitVerdict(read_end.get());
  }
  read_end.Close();
  setsid();
  LeaveParent();  // What leads no session never gets a terminal again.
  LetGoOfTerminal();
}

void Readiness::Ready() {
  (void)TellStarter(kReady);
  Notify("READY=1");
}

void Readiness::Failed(const std::string& why) {
  if (!TellStarter(why)) Say(why);
}

void Readiness::Stopping() { Notify("STOPPING=1"); }

// False when none waits.
bool Readiness::TellStarter(const std::string& text) {
  if (!starter_.is_open()) return false;
  [[maybe_unused]] const ssize_t n = write(starter_.get(), text.data(), text.size());  // It may have been killed.
  starter_.Close();
  return true;
}

void Readiness::Notify(const std::string& state) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (notify_socket_.empty() || notify_socket_.size() >= sizeof(address.sun_path)) return;
  memcpy(address.sun_path, notify_socket_.data(), notify_socket_.size());
  if (address.sun_path[0] == '@') address.sun_path[0] = '\0';  // An abstract name.
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + notify_socket_.size());
  const Fd fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  (void)sendto(fd.get(), state.data(), state.size(), MSG_NOSIGNAL, reinterpret_cast<sockaddr*>(&address), size);
}

}  // namespace kor::host
