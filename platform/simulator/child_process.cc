// SPDX-License-Identifier: Apache-2.0
#include "simulator/child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

extern char** environ;

namespace kor::modem {

namespace {

// Both ends of a pipe; whatever is still open is closed at the end of the scope.
class Pipe {
 public:
  Pipe() {
    if (pipe2(ends_, O_CLOEXEC) != 0) ends_[0] = ends_[1] = -1;
  }
  ~Pipe() {
    Close(ends_[0]);
    Close(ends_[1]);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  bool ok() const { return ends_[0] >= 0; }
  int read_end() const { return ends_[0]; }
  int write_end() const { return ends_[1]; }
  void CloseWriteEnd() { Close(ends_[1]); }

 private:
  static void Close(int& fd) {
    if (fd >= 0) close(fd);
    fd = -1;
  }

  int ends_[2];  // -1 iff closed.
};

// What posix_spawn is told: standard input and error are pipes, output goes nowhere, signals are as in a fresh process.
class SpawnSetup {
 public:
  SpawnSetup(const Pipe& in, const Pipe& error) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_adddup2(&actions_, in.read_end(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions_, error.write_end(), STDERR_FILENO);
    posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_init(&attributes_);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~SpawnSetup() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnSetup(const SpawnSetup&) = delete;
  SpawnSetup& operator=(const SpawnSetup&) = delete;

  const posix_spawn_file_actions_t* actions() const { return &actions_; }
  const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

int Spawn(const std::vector<std::string>& words, const SpawnSetup& setup, pid_t& pid) {
  std::vector<char*> argv;
  for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  return posix_spawnp(&pid, argv[0], setup.actions(), setup.attributes(), argv.data(), environ);
}

std::string ReadAll(int fd) {
  std::string text;
  char buffer[1024];
  for (;;) {
    const ssize_t n = read(fd, buffer, sizeof(buffer));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return text;
    text.append(buffer, static_cast<size_t>(n));
  }
}

// A host that ignores SIGCHLD takes the status away (ECHILD); then the error text alone tells.
bool EndedWell(pid_t pid, const std::string& error_text) {
  int status = 0;
  pid_t waited = -1;
  do {
    waited = waitpid(pid, &status, 0);
  } while (waited < 0 && errno == EINTR);
  if (waited < 0) return error_text.empty();
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

std::string RunProgram(const std::vector<std::string>& words, const std::string& input) {
  Pipe in;
  Pipe error;
  if (!in.ok() || !error.ok()) return std::string("pipe: ") + strerror(errno);
  // The whole input waits in the pipe before the child starts, so a child that reads nothing cannot hold us up.
  const ssize_t written = write(in.write_end(), input.data(), input.size());
  if (written != static_cast<ssize_t>(input.size())) return "the input of " + words[0] + " is too long";
  in.CloseWriteEnd();
  pid_t pid = 0;
  const int rc = Spawn(words, SpawnSetup(in, error), pid);
  if (rc != 0) return words[0] + ": " + strerror(rc);
  error.CloseWriteEnd();
  const std::string error_text = ReadAll(error.read_end());
  if (EndedWell(pid, error_text)) return "";
  return error_text.empty() ? words[0] + " failed" : error_text.substr(0, error_text.find('\n'));
}

}  // namespace kor::modem
