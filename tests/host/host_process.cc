// SPDX-License-Identifier: Apache-2.0
#include "host/host_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <cstddef>
#include <filesystem>

#include "support/wait.h"

namespace kor::test {

namespace {

using kor::tools::Fd;

constexpr char kManager[] = "kwwan-host-test-manager";  // Of the network namespace: each test's own.
constexpr int kLimitMs = std::chrono::milliseconds(kLongEnough).count();

Fd BindManager() {
  Fd fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{AF_UNIX, {}};
  std::string(kManager).copy(address.sun_path + 1, sizeof(address.sun_path) - 1);
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + sizeof(kManager));
  (void)bind(fd.get(), reinterpret_cast<sockaddr*>(&address), size);
  return fd;
}

// `said` becomes the reading end of its standard error.
pid_t Spawn(const Words& arguments, Fd& said) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return -1;
  said = Fd(ends[0]);
  const Fd write_end(ends[1]);
  std::vector<char*> argv = {const_cast<char*>(KWWAND)};
  for (const std::string& word : arguments) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  const pid_t pid = fork();
  if (pid == 0) {
    dup2(write_end.get(), STDERR_FILENO);
    setenv("NOTIFY_SOCKET", (std::string("@") + kManager).c_str(), 1);
    execv(KWWAND, argv.data());
    _exit(127);
  }
  return pid;
}

std::string ReadWhatIsThere(int fd) {
  fcntl(fd, F_SETFL, O_NONBLOCK);
  char bytes[4096];
  const ssize_t n = read(fd, bytes, sizeof(bytes));
  return n > 0 ? std::string(bytes, static_cast<size_t>(n)) : "";
}

Ending Await(pid_t pid, int said) {
  const auto start = std::chrono::steady_clock::now();
  int status = 0;
  Ending ending;
  if (!Eventually([&] { return waitpid(pid, &status, WNOHANG) == pid; })) {
    kill(pid, SIGKILL);
    waitpid(pid, &status, 0);
  } else if (WIFEXITED(status)) {
    ending.status = WEXITSTATUS(status);
  }
  ending.took = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
  ending.said = ReadWhatIsThere(said);
  return ending;
}

}  // namespace

Ending RunKwwand(const Words& arguments) {
  Fd said;
  const pid_t pid = Spawn(arguments, said);
  return Await(pid, said.get());
}

HostProcess::HostProcess(const Words& arguments) : manager_(BindManager()) {
  pid_ = Spawn(arguments, stderr_);
  ready_ = TakeNotice() == "READY=1";
}

HostProcess::~HostProcess() {
  if (pid_ < 0) return;
  Signal(SIGTERM);
  (void)AwaitEnd();
}

void HostProcess::Signal(int signal_number) const { kill(pid_, signal_number); }

Ending HostProcess::AwaitEnd() { return Await(std::exchange(pid_, -1), stderr_.get()); }

std::string HostProcess::TakeNotice() {
  char bytes[256];
  pollfd ready{manager_.get(), POLLIN, 0};
  if (poll(&ready, 1, kLimitMs) != 1) return "";
  const ssize_t n = recv(manager_.get(), bytes, sizeof(bytes), 0);
  return n > 0 ? std::string(bytes, static_cast<size_t>(n)) : "";
}

size_t HostProcess::CountSockets() const {
  size_t count = 0;
  std::error_code gone;  // One that has been closed meanwhile.
  for (const auto& fd : std::filesystem::directory_iterator("/proc/" + std::to_string(pid_) + "/fd")) {
    count += std::filesystem::read_symlink(fd, gone).string().rfind("socket:", 0) == 0 ? 1 : 0;
  }
  return count;
}

}  // namespace kor::test
