// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "kwwanctl/output.h"
#include "kwwanctl/session.h"

namespace CLI {
class App;
}

namespace kor::ctl {

// What the commands of one run share. The options are read once the command line has been parsed.
//
// A command is chosen while the command line is parsed and runs afterwards, when no word of it is left over:
//
//   CLI::App* sub = app.add_subcommand("version", "...");
//   sub->callback([&context] { context.Choose([&context] { return ShowVersion(context); }); });
struct Context {
  using Command = std::function<int()>;  // Returns the exit status.

  GlobalOptions options;
  Output out{options};
  Command chosen;

  void Choose(Command command) { chosen = std::move(command); }

  Session& session() {
    if (!session_) session_ = std::make_unique<Session>(options.socket);
    return *session_;
  }

 private:
  std::unique_ptr<Session> session_;
};

}  // namespace kor::ctl
