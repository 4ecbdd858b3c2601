// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <signal.h>

namespace kor::util {

// Blocks every signal while it lives, so that a thread started meanwhile takes none.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_;
};

}  // namespace kor::util
