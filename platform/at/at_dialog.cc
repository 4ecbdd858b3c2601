// SPDX-License-Identifier: Apache-2.0
#include "at/at_dialog.h"

#include <algorithm>

#include "at/at_settings.h"

namespace kor::modem {

namespace {

using kor::wwan::AtManager;

constexpr size_t kEnoughOutput = 4096;  // With so much to show the next command waits.

// The line that begins at `at`, which becomes the beginning of the next one, or the text's size. LF, CR or both end it.
std::string_view TakeLine(std::string_view text, size_t& at) {
  const size_t end = std::min(text.find_first_of("\r\n", at), text.size());
  const std::string_view line = text.substr(at, end - at);
  at = end + (text.substr(end, 2) == "\r\n" ? 2 : 1);
  return line;
}

}  // namespace

void AtDialog::Type(std::string_view characters) {
  typed_ += characters;
  Run();
}

void AtDialog::Answer(bool ok, const std::string& text) {
  waiting_ = false;
  if (ok) {
    ShowInfo(text);
  } else if (text.empty()) {
    Finish("ERROR", "4");
  } else {
    Finish(text, nullptr);
  }
  Run();
}

void AtDialog::Notify(const std::string& text) {
  if (text.empty()) return;
  notices_.push_back(text);
  notice_bytes_ += text.size();
  while (notices_.size() > 1 && (notices_.size() > kMaxNotices || notice_bytes_ > kMaxNoticeBytes)) {
    notice_bytes_ -= notices_.front().size();
    notices_.pop_front();
  }
  ReleaseNotices();
}

void AtDialog::ShowHeld() {
  overdue_ = true;
  ReleaseNotices();
}

void AtDialog::HangUp() {
  settings_ = AtSettings();
  editor_.Clear();
  last_ = "";
  typed_.clear();
  commands_.clear();
  running_ = false;
  waiting_ = false;
  output_.clear();
  notices_.clear();
  notice_bytes_ = 0;
  overdue_ = false;
}

void AtDialog::Shown(size_t size) {
  output_.erase(0, size);
  Run();
}

void AtDialog::Run() {
  while (!waiting_ && output_.size() < kEnoughOutput && Step()) {
  }
  ReleaseNotices();
}

// False when there is nothing to do.
bool AtDialog::Step() {
  if (!commands_.empty()) {
    AtCommand command = std::move(commands_.back());
    commands_.pop_back();
    Execute(command);
  } else if (running_) {
    Finish("OK", "0");
  } else if (!typed_.empty()) {
    Eat();
  } else {
    return false;
  }
  return true;
}

// Takes characters up to the end of a line.
void AtDialog::Eat() {
  size_t size = 0;
  AtEditor::Event event = AtEditor::Event::kNothing;
  while (size < typed_.size() && event == AtEditor::Event::kNothing) {
    event = editor_.Type(typed_[size++], settings_, output_);
  }
  typed_.erase(0, size);
  if (event == AtEditor::Event::kNothing) return;
  if (event == AtEditor::Event::kLine) last_ = editor_.TakeLine();
  running_ = true;
  if (last_) commands_ = ParseAtLine(*last_);
  std::reverse(commands_.begin(), commands_.end());
  if (!last_) Fail(kAtNotSupported);
}

void AtDialog::Execute(AtCommand& command) {
  command.cmee = settings_.cmee;
  if (command.op == AtManager::kOpNone) return Fail(kAtNotSupported);
  // Before what is forwarded: no name that somebody registers takes away what a terminal is set by.
  std::optional<AtReply> reply = RunSetting(command, settings_);
  if (!reply) {
    waiting_ = backend_.forward(command);
    if (waiting_) return;
    reply = backend_.ask(command);
  }
  if (reply->error) {
    Fail(*reply->error);
  } else {
    ShowInfo(reply->info);
  }
}

void AtDialog::Fail(const AtError& error) {
  if (settings_.cmee == 0) {
    Finish("ERROR", "4");
  } else {
    Finish("+CME ERROR: " + (settings_.cmee == 1 ? std::to_string(error.code) : error.text), nullptr);
  }
}

// The final result: `number` is what it is called without words, if it has one.
void AtDialog::Finish(const std::string& word, const char* number) {
  running_ = false;
  commands_.clear();
  ShowResult(settings_.verbose != 0 || number == nullptr ? word : number);
}

// Information and result codes are framed as V.250 6.2.6, tables 3 and 4, have it.
void AtDialog::ShowInfo(const std::string& text) { ShowLines(text, LineBreak()); }

void AtDialog::ShowResult(const std::string& text) {
  if (settings_.quiet == 0) ShowLines(text, settings_.verbose != 0 ? LineBreak() : LineBreak().substr(0, 1));
}

void AtDialog::ShowLines(const std::string& text, const std::string& end) {
  if (text.empty()) return;
  if (settings_.verbose != 0) output_ += LineBreak();
  for (size_t at = 0; at < text.size();) {
    if (at > 0) output_ += LineBreak();
    output_ += TakeLine(text, at);
  }
  output_ += end;
}

std::string AtDialog::LineBreak() const {
  return {static_cast<char>(settings_.line_end), static_cast<char>(settings_.line_feed)};
}

// One at a time: the next one when it has been shown.
void AtDialog::ReleaseNotices() {
  while (!notices_.empty() && wants_input() && (editor_.empty() || overdue_)) {
    ShowResult(notices_.front());
    notice_bytes_ -= notices_.front().size();
    notices_.pop_front();
  }
  overdue_ = overdue_ && !notices_.empty();
}

}  // namespace kor::modem
