// SPDX-License-Identifier: Apache-2.0
#include "host/host_process.h"

#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstddef>
#include <cstdlib>
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
  setenv("NOTIFY_SOCKET", (std::string("@") + kManager).c_str(), 1);
  return fd;
}

}  // namespace

Outcome RunKwwand(const Words& words) { return Command(words, Command::Over::kPipes, KWWAND).Wait(); }

HostProcess::HostProcess(const Words& words) : manager_(BindManager()), program_(words, Command::Over::kPipes, KWWAND) {
  ready_ = TakeNotice() == "READY=1";
}

HostProcess::~HostProcess() {
  if (pid() < 0) return;
  Signal(SIGTERM);
  (void)AwaitEnd();
}

void HostProcess::Signal(int signal_number) const { kill(pid(), signal_number); }

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
  for (const auto& fd : std::filesystem::directory_iterator("/proc/" + std::to_string(pid()) + "/fd")) {
    count += std::filesystem::read_symlink(fd, gone).string().rfind("socket:", 0) == 0 ? 1 : 0;
  }
  return count;
}

}  // namespace kor::test
