// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string>
#include <thread>
#include <vector>

#include "support/wait.h"

namespace kor::test {

using Words = std::vector<std::string>;

// "call up 0" as words; what stands between single quotes is one.
Words Split(const std::string& line);

// How a command ended: its exit status (the signal's negative number when one ended it), and what it said.
struct Outcome {
  int status = 0;
  std::string out;
  std::string err;
};

// A program that runs, standard input, output and error in a test's hands: pipes, or one terminal for all three. Every
// wait is bounded. What still runs in the end is killed.
class Command {
 public:
  enum class Over { kPipes, kTerminal };

  explicit Command(const std::string& line, Over over = Over::kPipes, const char* program = KWWANCTL)
      : Command(Split(line), over, program) {}
  Command(const Words& words, Over over, const char* program);
  ~Command();
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;

  pid_t pid() const { return pid_; }
  void Type(const std::string& text);
  void EndInput() { Close(in_); }
  void CloseOutput() { Close(out_); }  // Its reader goes.

  // Reads its standard output until it holds `text`; what was read so far, the part before included.
  std::string ReadTo(const std::string& text);

  // Whether what it has said on standard output by now holds `text`; never waits.
  bool HasSaid(const std::string& text);

  // To its end.
  Outcome Wait();

 private:
  void Close(int& fd);
  bool ReadSome(int& fd, std::string& text);
  void ReadWhatIsThere();

  pid_t pid_ = -1;
  int in_ = -1;
  int out_ = -1;
  int err_ = -1;
  Outcome outcome_;
};

// `kwwanctl LINE` to its end, with `input` as its standard input.
Outcome Ctl(const std::string& line, const std::string& input = "");

inline bool ModemTakes(const std::string& line) { return Ctl("modem " + line).status == 0; }

// In a host's place: takes one connection, answers its first request with `lines`, and hangs up.
class FakeHost {
 public:
  explicit FakeHost(const std::string& lines);
  ~FakeHost();
  FakeHost(const FakeHost&) = delete;
  FakeHost& operator=(const FakeHost&) = delete;

 private:
  int fd_;
  std::thread thread_;
};

}  // namespace kor::test
