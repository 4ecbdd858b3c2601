// SPDX-License-Identifier: Apache-2.0
#include "kwwand/host/shell_command.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string_view>

#include "shared/fd.h"

namespace kor::host {

namespace {

using Clock = std::chrono::steady_clock;

// How often the shell's end, the limit and a cancellation are looked at, while there may be output and after it.
constexpr int kTickMs = 20;
constexpr int kLastTickMs = 2;

// The texts as execve() takes them.
std::vector<char*> Pointers(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  return pointers;
}

// What the child is to have otherwise than this process: streams, a group, no blocked or ignored signals.
class SpawnSettings {
 public:
  explicit SpawnSettings(int output) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions_, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_init(&attributes_);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    posix_spawnattr_setpgroup(&attributes_, 0);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
  }
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  const posix_spawn_file_actions_t* actions() const { return &actions_; }
  const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

// Whether one of `variables` has the name of `own`.
bool Names(const std::vector<std::string>& variables, std::string_view own) {
  const std::string_view name = own.substr(0, own.find('=') + 1);
  return std::any_of(variables.begin(), variables.end(),
                     [name](const std::string& variable) { return variable.compare(0, name.size(), name) == 0; });
}

std::optional<pid_t> Start(const std::string& line, const std::vector<std::string>& variables, int output) {
  const std::vector<std::string> words{"sh", "-c", line};
  std::vector<char*> argv = Pointers(words);
  argv.push_back(nullptr);
  std::vector<char*> env = Pointers(variables);
  for (char** own = environ; *own != nullptr; ++own) {
    if (!Names(variables, *own)) env.push_back(*own);
  }
  env.push_back(nullptr);
  const SpawnSettings settings(output);
  pid_t pid = -1;
  const int rc = posix_spawn(&pid, "/bin/sh", settings.actions(), settings.attributes(), argv.data(), env.data());
  return rc == 0 ? std::optional<pid_t>(pid) : std::nullopt;
}

// Takes what the pipe holds, and drops what is over the limit. False when nothing can come any more.
bool Drain(int fd, size_t max_output, std::string& output) {
  char buffer[4096];
  for (;;) {
    const ssize_t n = read(fd, buffer, sizeof(buffer));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return errno == EAGAIN;
    if (n == 0) return false;
    output.append(buffer, std::min(static_cast<size_t>(n), max_output - output.size()));
  }
}

// Whether the child is gone; `end` then says how. One that was reaped elsewhere counts as exited with 0.
bool HasEnded(pid_t pid, int options, CommandEnd& end) {
  int status = 0;
  pid_t waited = 0;
  do {
    waited = waitpid(pid, &status, options);
  } while (waited < 0 && errno == EINTR);
  if (waited == 0) return false;
  const bool killed = waited == pid && WIFSIGNALED(status);
  end.how = killed ? CommandEnd::kKilled : CommandEnd::kExited;
  end.status = killed ? WTERMSIG(status) : waited == pid ? WEXITSTATUS(status) : 0;
  return true;
}

}  // namespace

std::string EndText(const CommandEnd& end) {
  switch (end.how) {
    case CommandEnd::kExited:
      return "exit status " + std::to_string(end.status);
    case CommandEnd::kKilled:
      return "killed by signal " + std::to_string(end.status);
    case CommandEnd::kTimedOut:
      return "killed: it took too long";
    case CommandEnd::kCancelled:
      return "killed: the host is stopping";
    case CommandEnd::kNotStarted:
      return "not started";
  }
  return "";
}

CommandEnd RunShell(const std::string& line, const std::vector<std::string>& variables, std::chrono::milliseconds limit,
                    size_t max_output, const std::atomic<bool>& cancel) {
  CommandEnd end;
  end.output.reserve(max_output);  // Once the shell runs nothing may throw: it would be left a zombie.
  const auto last = Clock::now() + limit;
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return end;
  const kor::tools::Fd reader(ends[0]);
  kor::tools::Fd writer(ends[1]);
  fcntl(reader.get(), F_SETFL, O_NONBLOCK);
  const auto pid = Start(line, variables, writer.get());
  writer.Close();
  if (!pid) return end;
  pollfd ready{reader.get(), POLLIN, 0};
  while (!HasEnded(*pid, WNOHANG, end)) {
    const bool late = Clock::now() >= last;
    if (late || cancel) {
      kill(-*pid, SIGKILL);
      HasEnded(*pid, 0, end);
      end.how = late ? CommandEnd::kTimedOut : CommandEnd::kCancelled;
      break;
    }
    poll(&ready, 1, ready.fd >= 0 ? kTickMs : kLastTickMs);
    if (ready.fd >= 0 && !Drain(ready.fd, max_output, end.output)) ready.fd = -1;  // poll() then only waits.
  }
  (void)Drain(reader.get(), max_output, end.output);
  return end;
}

}  // namespace kor::host
