// SPDX-License-Identifier: Apache-2.0
#include "ctl/command.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <utility>

namespace kor::test {
namespace {

constexpr char kFolder[] = "/run/kwwand";
constexpr char kSocket[] = "/run/kwwand/kwwand.sock";

[[noreturn]] void Become(const char* program, const Words& words) {
  std::vector<char*> argv{const_cast<char*>(program)};
  for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  execv(program, argv.data());
  _exit(127);
}

bool Readable(int fd, std::chrono::milliseconds limit = kLongEnough) {
  pollfd ready{fd, POLLIN, 0};
  return poll(&ready, 1, static_cast<int>(limit.count())) == 1;
}

}  // namespace

Words Split(const std::string& line) {
  Words words;
  std::string word;
  bool quoted = false;
  for (const char c : line + ' ') {
    if (c == '\'') {
      quoted = !quoted;
    } else if (c != ' ' || quoted) {
      word += c;
    } else if (!word.empty()) {
      words.push_back(std::move(word));
      word.clear();
    }
  }
  return words;
}

Command::Command(const Words& words, Over over, const char* program) {
  if (over == Over::kTerminal) {
    pid_ = forkpty(&out_, nullptr, nullptr, nullptr);
    if (pid_ == 0) Become(program, words);
    in_ = dup(out_);
    return;
  }
  int pipes[3][2];
  for (auto& ends : pipes) (void)!pipe2(ends, O_CLOEXEC);
  pid_ = fork();
  if (pid_ == 0) {
    for (const int fd : {0, 1, 2}) dup2(pipes[fd][fd == 0 ? 0 : 1], fd);
    Become(program, words);
  }
  in_ = pipes[0][1];
  out_ = pipes[1][0];
  err_ = pipes[2][0];
  for (const int fd : {pipes[0][0], pipes[1][1], pipes[2][1]}) close(fd);
}

Command::~Command() {
  if (pid_ > 0) kill(pid_, SIGKILL);
  if (pid_ > 0) waitpid(pid_, nullptr, 0);
  for (int* fd : {&in_, &out_, &err_}) Close(*fd);
}

void Command::Type(const std::string& text) { (void)!write(in_, text.data(), text.size()); }

void Command::Close(int& fd) {
  if (fd >= 0) close(fd);
  fd = -1;
}

bool Command::ReadSome(int& fd, std::string& text) {
  char part[4096];
  const ssize_t n = fd >= 0 && Readable(fd) ? read(fd, part, sizeof(part)) : -1;
  if (n <= 0) return false;
  text.append(part, static_cast<size_t>(n));
  return true;
}

std::string Command::ReadTo(const std::string& text) {
  while (outcome_.out.find(text) == std::string::npos && ReadSome(out_, outcome_.out)) {
  }
  return outcome_.out;
}

void Command::ReadWhatIsThere() {
  constexpr std::chrono::milliseconds kNow(0);
  while (Readable(out_, kNow) && ReadSome(out_, outcome_.out)) {
  }
  while (Readable(err_, kNow) && ReadSome(err_, outcome_.err)) {
  }
}

bool Command::HasSaid(const std::string& text) {
  ReadWhatIsThere();
  return outcome_.out.find(text) != std::string::npos;
}

Outcome Command::Wait() {
  int status = -1;
  const bool ended = Eventually([&] {
    ReadWhatIsThere();
    return waitpid(pid_, &status, WNOHANG) == pid_;
  });
  if (!ended) return {-1, "it does not end", ""};
  pid_ = -1;
  ReadWhatIsThere();  // A child of its may hold its outputs open for long.
  outcome_.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  return outcome_;
}

Outcome Ctl(const std::string& line, const std::string& input) {
  Command command(line);
  command.Type(input);
  command.EndInput();
  return command.Wait();
}

FakeHost::FakeHost(const std::string& lines) : fd_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_un address{AF_UNIX, {}};
  std::string(kSocket).copy(address.sun_path, sizeof(address.sun_path) - 1);
  mkdir(kFolder, 0755);
  unlink(kSocket);
  (void)bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof(address));
  (void)listen(fd_, 1);
  thread_ = std::thread([this, lines] {
    const int client = accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC);
    char request[4096];
    if (client >= 0 && Readable(client) && read(client, request, sizeof(request)) > 0) {
      (void)send(client, lines.data(), lines.size(), MSG_NOSIGNAL);
    }
    close(client);
  });
}

FakeHost::~FakeHost() {
  shutdown(fd_, SHUT_RDWR);
  thread_.join();
  close(fd_);
}

}  // namespace kor::test
