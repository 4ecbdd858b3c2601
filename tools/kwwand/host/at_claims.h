// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "wwan/at_manager.h"

namespace kor::host {

// The AT commands that clients of the host have claimed, each with a text for its answer or a command that makes it.
//
// A command runs on the AT service's thread: until it has ended, at most 5 seconds, every other AT command waits, of
// whatever name. What takes longer is put into the background and reports by at.notify. It is /bin/sh -c, with what was
// typed in environment variables, never in the line: AT_NAME, AT_OP (plain, read, set or test), AT_PARAM_1 and so on.
// Its first 2048 bytes of output are the answer; an exit status other than 0, and 5 seconds, are an ERROR.
//
// Thread safety: all operations may be called from any thread; not from a handler of the AT service.
class AtClaims {
 public:
  struct Entry {
    std::string name;  // "+KWPING"
    enum State { kPending, kRegistered, kRefused } state = kPending;
    std::optional<std::string> run;  // One of these two; neither: the claim was released.
    std::optional<std::string> answer;
    uint64_t served = 0;
  };

  static constexpr size_t kMaxClaims = 64;

  AtClaims();

  // Claims a name, or gives one that is claimed already another answer. Returns before the modem has said its word.
  // Throws RequestError when there are kMaxClaims others.
  Entry Claim(kor::wwan::AtManager& at, const Entry& entry);

  // Takes a claim back: the name stays registered with the modem, and its commands fail. False when there is none.
  bool Release(const std::string& name);

  // Those that are not released, in the order of their names.
  std::vector<Entry> List() const;

  // Kills the command that runs, and every later one at once.
  void Cancel();

 private:
  struct Table;
  static kor::wwan::AtManager::CmdResponse Serve(Table& table, const kor::wwan::AtManager::Command& command);

  const std::shared_ptr<Table> table_;  // The service's callbacks share it.
};

}  // namespace kor::host
