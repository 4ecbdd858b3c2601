// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

#include "shared/fd.h"

namespace kor::test {

using Words = std::vector<std::string>;

// The end of a process: its exit status (-1: killed, or not ended in time), what it said on standard error, how long
// it took.
struct Ending {
  int status = -1;
  std::string said;
  std::chrono::milliseconds took{};
};

// Runs kwwand to its end.
Ending RunKwwand(const Words& arguments);

// A kwwand in the foreground. It has announced itself ready, as a service manager hears it, when the constructor
// returns; the destructor stops it.
class HostProcess {
 public:
  explicit HostProcess(const Words& arguments = {});
  ~HostProcess();
  HostProcess(const HostProcess&) = delete;
  HostProcess& operator=(const HostProcess&) = delete;

  bool ready() const { return ready_; }
  pid_t pid() const { return pid_; }
  void Signal(int signal_number) const;
  // Of a host that has been told to end.
  Ending AwaitEnd();
  // What it told the service manager since the last time.
  std::string TakeNotice();
  // How many sockets it has open: its clients', and the same few others all the time.
  size_t CountSockets() const;

 private:
  kor::tools::Fd manager_;
  kor::tools::Fd stderr_;
  pid_t pid_ = -1;  // -1 iff it has ended.
  bool ready_ = false;
};

}  // namespace kor::test
