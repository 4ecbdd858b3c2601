// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <thread>

#include "handoff.h"
#include "support.h"

namespace kor::bench {

using Command = kor::wwan::AtManager::Command;

// The bare flag as a queue of one. A queue's Send() copies a command; its Take() waits for at least one, destroys what
// it takes, and returns how many that were.
class BareFlag {
 public:
  void Send(const Command&) { flag_.Post(); }
  int Take() {
    flag_.Await();
    return 1;
  }

 private:
  Flag flag_;
};

// A thread that takes commands off a queue and posts a flag for every `answer_every` of them.
template <typename Queue>
class Consumer {
 public:
  Consumer(int cpu, int answer_every)
      : answer_every_(answer_every), thread_([this, cpu] {
          PinTo(cpu);
          Consume();
        }) {}
  ~Consumer() {
    stopping_ = true;
    queue_.Send(SampleCommand());
    thread_.join();
  }
  Consumer(const Consumer&) = delete;
  Consumer& operator=(const Consumer&) = delete;

  // Sends as many as are answered at once.
  void Send(const Command& cmd) {
    for (int i = 0; i < answer_every_; ++i) queue_.Send(cmd);
  }
  void Await() { answer_.Await(); }

  void Exchange(const Command& cmd) {
    Send(cmd);
    Await();
  }

 private:
  void Consume() {
    for (int taken = queue_.Take(); !stopping_; taken += queue_.Take()) {
      for (; taken >= answer_every_; taken -= answer_every_) answer_.Post();
    }
  }

  const int answer_every_;
  Queue queue_;
  Flag answer_;
  std::atomic<bool> stopping_{false};
  std::thread thread_;  // Last: it uses the others.
};

}  // namespace kor::bench
