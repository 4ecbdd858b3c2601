// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

#include "at/at_dialog.h"
#include "at/owned_fd.h"
#include "at/pty.h"

namespace kor::modem {

// A terminal of the modem: a dialog whose far end is whatever program has opened a pty. Nothing blocks.
//
// Where no program is, what is shown is lost. When the last one leaves, its half line, the answer it waited for, its
// settings and what it did to the pty's mode are forgotten: the next program finds the terminal as the first one did.
// One limit is the kernel's: it keeps what a program did not read for whoever opens the pty next, and does not tell the
// characters that one typed from the next one's. A program that opens before the leaving was seen (by HandleReady() or
// Update()) finds both.
//
// Thread safety: for one thread at a time.
class AtTerminal {
 public:
  // A half-typed line holds an unsolicited text back so long and no longer.
  static constexpr std::chrono::milliseconds kMaxHold{3000};

  // Adds descriptors to an epoll set. `opens`, whose descriptor is in that set, must outlive it. Throws
  // std::system_error.
  AtTerminal(int epoll_fd, PtyOpens& opens, AtBackend backend);

  const std::string& path() const { return pty_.path(); }
  AtDialog& dialog() { return dialog_; }

  // A forwarded command waits from now on: unless it is answered within `limit`, it fails.
  void LimitWait(std::chrono::milliseconds limit);

  // Something in the epoll set is ready.
  void HandleReady();

  // Shows what the dialog has to show, unless the program has left. To be called after the dialog was changed.
  void Update();

 private:
  void SetTimer(std::chrono::milliseconds time);
  void TakeTimeout();
  void HangUp();
  void LimitHold();
  void Serve();
  void EndSession();
  void Watch(bool open);

  const int epoll_fd_;
  Pty pty_;
  const OwnedFd timer_fd_;  // For the answer that is waited for, or else for the texts that are held back.
  AtDialog dialog_;
  bool holding_ = false;  // The timer runs for texts that are held back.
  bool used_ = false;     // The present session has typed or seen something.
  bool watched_ = false;  // The pty is in the epoll set; not while it is hung up.
};

}  // namespace kor::modem
