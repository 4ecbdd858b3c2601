// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/secret.h"

#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <optional>

#include "kwwanctl/command_error.h"
#include "kwwanctl/interrupt_watcher.h"
#include "kwwanctl/table.h"

namespace kor::ctl {
namespace {

constexpr size_t kLongestLine = 4096;

// A terminal without echo while it lives.
class NoEcho {
 public:
  NoEcho() {
    if (tcgetattr(STDIN_FILENO, &before_) != 0) throw CommandError(kErrorFailure, "cannot turn the echo off");
    termios quiet = before_;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    quiet.c_lflag |= ECHONL;
    if (tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet) != 0) throw CommandError(kErrorFailure, "cannot turn the echo off");
  }
  ~NoEcho() { (void)tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_); }
  NoEcho(const NoEcho&) = delete;
  NoEcho& operator=(const NoEcho&) = delete;

 private:
  termios before_{};
};

// Byte by byte: what follows the line is the next one's.
std::string ReadLine(InterruptWatcher& watcher) {
  std::string line;
  char c = 0;
  while (line.size() < kLongestLine) {
    if (watcher.Wait(STDIN_FILENO, std::nullopt) == InterruptWatcher::Woken::kInterrupted)
      throw CommandError(kErrorFailure, "interrupted");
    const ssize_t n = read(STDIN_FILENO, &c, 1);
    if (n == 1 && c == '\n') return line;
    if (n != 1 && line.empty()) throw CommandError(kErrorFailure, "standard input ended before the secret");
    if (n != 1) return line;
    line += c;
  }
  throw CommandError(kErrorFailure, "standard input has no end of line");
}

std::string AskFor(const std::string& prompt) {
  InterruptWatcher watcher;  // Signals wait until the echo is back.
  if (!isatty(STDIN_FILENO)) return ReadLine(watcher);
  const NoEcho no_echo;
  (void)fputs(prompt.c_str(), stderr);
  return ReadLine(watcher);
}

}  // namespace

std::string ReadSecret(const std::string& prompt) {
  std::string secret = AskFor(prompt);
  if (IsUtf8(secret)) return secret;
  throw CommandError(kErrorUsage, "the secret: takes text in UTF-8");
}

std::string ReadPin(const std::string& prompt) {
  std::string pin = ReadSecret(prompt);
  const bool digits = std::all_of(pin.begin(), pin.end(), [](char c) { return c >= '0' && c <= '9'; });
  if (digits && pin.size() >= 4 && pin.size() <= 8) return pin;
  throw CommandError(kErrorUsage, "PIN: takes 4 to 8 digits", Json{{"argument", "PIN"}, {"takes", "4 to 8 digits"}});
}

std::string ReadNewPin(const std::string& prompt) {
  std::string pin = ReadPin(prompt);
  if (!isatty(STDIN_FILENO) || ReadSecret("Once more: ") == pin) return pin;
  throw CommandError(kErrorFailure, "the new PINs differ; nothing is changed");
}

}  // namespace kor::ctl
