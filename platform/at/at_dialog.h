// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "at/at_backend.h"
#include "at/at_editor.h"
#include "at/at_line.h"
#include "at/at_settings.h"

namespace kor::modem {

// What is said at one terminal: characters go in, and what the terminal is to show comes out. No I/O of its own.
//
// A line's commands are executed in order up to the first that fails, and one final result ends it. While a forwarded
// command waits for its answer, or the terminal does not take what it is to show, what is typed stays untouched.
// Unsolicited texts are shown between lines: never inside an answer, nor while a line is being typed, unless it takes
// too long (ShowHeld). Under Q1 they are lost, as all result codes.
//
// Memory is bounded: a line, what one Type() brought, the texts that are held, and one answer above a few KiB.
//
// Thread safety: for one thread at a time.
class AtDialog {
 public:
  static constexpr size_t kMaxNotices = 100;  // Of unsolicited texts that are held; the oldest are dropped.
  static constexpr size_t kMaxNoticeBytes = 65536;

  explicit AtDialog(AtBackend backend) : backend_(std::move(backend)) {}

  // Characters that were typed. To be called when wants_input().
  void Type(std::string_view characters);

  // The answer to the forwarded command: information text, or on failure the final result in the place of ERROR. A line
  // end (LF, CR or both) at the text's end means nothing; others separate lines. So it is with unsolicited texts.
  // Requires: waiting().
  void Answer(bool ok, const std::string& text);

  // An unsolicited text.
  void Notify(const std::string& text);

  // Whether the line that is being typed holds texts back, and that they are shown all the same; the line goes on.
  bool holds_back() const { return !notices_.empty() && wants_input(); }
  void ShowHeld();

  // The line went dead: all is as at the beginning, the settings too.
  void HangUp();

  // What is to be shown, and that the first `size` characters of it were.
  const std::string& output() const { return output_; }
  void Shown(size_t size);

  // A forwarded command has no answer yet.
  bool waiting() const { return waiting_; }

  // Nothing keeps the next line from being executed.
  bool wants_input() const { return !running_ && typed_.empty() && output_.empty(); }

  AtSettings& settings() { return settings_; }

 private:
  void Run();
  bool Step();
  void Eat();
  void Execute(AtCommand& command);
  void Finish(const std::string& word, const char* number);
  void Fail(const AtError& error);
  void ShowInfo(const std::string& text);
  void ShowResult(const std::string& text);
  void ShowLines(const std::string& text, const std::string& end);
  std::string LineBreak() const;
  void ReleaseNotices();

  const AtBackend backend_;
  AtSettings settings_;
  AtEditor editor_;
  std::string typed_;                    // What was typed and is not looked at yet.
  std::optional<std::string> last_{""};  // The latest line; nothing when it was too long.
  std::vector<AtCommand> commands_;      // The rest of the line that is being executed, the next one last.
  bool running_ = false;                 // A line is being executed.
  bool waiting_ = false;                 // Its latest command was forwarded and has no answer.
  std::string output_;
  std::deque<std::string> notices_;
  size_t notice_bytes_ = 0;  // Of all of them.
  bool overdue_ = false;     // They are shown whatever is being typed.
};

}  // namespace kor::modem
