// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string>

#include "ctl/command.h"
#include "shared/fd.h"

namespace kor::test {

// Runs kwwand to its end.
Outcome RunKwwand(const Words& words);

// A kwwand in the foreground. It has announced itself ready, as a service manager hears it, when the constructor
// returns; the destructor stops it.
class HostProcess {
 public:
  explicit HostProcess(const Words& words = {});
  ~HostProcess();
  HostProcess(const HostProcess&) = delete;
  HostProcess& operator=(const HostProcess&) = delete;

  bool ready() const { return ready_; }
  pid_t pid() const { return program_.pid(); }
  void Signal(int signal_number) const;
  // Of a host that has been told to end.
  Outcome AwaitEnd() { return program_.Wait(); }
  // What it told the service manager since the last time.
  std::string TakeNotice();
  // How many sockets it has open: its clients', and the same few others all the time.
  size_t CountSockets() const;

 private:
  kor::tools::Fd manager_;
  Command program_;
  bool ready_ = false;
};

}  // namespace kor::test
