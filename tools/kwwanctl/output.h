// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "kwwanctl/command_error.h"
#include "kwwanctl/table.h"

namespace kor::ctl {

// What stands before the object on the command line, or anywhere after it.
struct GlobalOptions {
  std::string socket = "/run/kwwand/kwwand.sock";
  bool json = false;
  bool no_color = false;
};

// Makes a screen of a result: lines, each with its end. Pure.
using Render = std::function<std::string(const Json& result, const Paint& paint)>;

// Standard output and standard error. With --json, standard output has JSON and nothing else, one object a line, in
// ASCII (so that no text of a network or a modem reaches a terminal as it is).
//
// Thread safety: none, one thread.
class Output {
 public:
  explicit Output(const GlobalOptions& options) : options_(options) {}

  bool json() const { return options_.json; }

  // Colours of standard output: none when it is not a terminal, with --no-color, or when NO_COLOR is set and not empty.
  Paint paint() const;

  // The result of a command: itself, or its screen. Throws CommandError when it cannot be written.
  void Show(const Json& result, const Render& render);

  // A text for people on standard output; nothing with --json. Throws as Show().
  void Say(const std::string& text);

  // A text for people on standard error; nothing with --json.
  void Remark(const std::string& text);

  // Tells why the command failed; with --json as {"error":{..}} on standard output.
  void Tell(const CommandError& error);

  // Whether the reader of standard output has gone: the last write found its pipe closed.
  bool reader_gone() const { return reader_gone_; }

 private:
  void Write(const std::string& text);

  const GlobalOptions& options_;
  bool reader_gone_ = false;
};

}  // namespace kor::ctl
