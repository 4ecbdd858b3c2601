// SPDX-License-Identifier: Apache-2.0
#include "modem/at_dialog.h"

#include <algorithm>

#include "modem/at_builtins.h"

namespace kor::modem {

namespace {

using kor::wwan::AtManager;

constexpr size_t kEnoughOutput = 4096;  // With so much to show the next command waits.

// The modem's own failures: 3GPP TS 27.007 9.2.1, code 4.
constexpr char kNotSupportedNumber[] = "+CME ERROR: 4";
constexpr char kNotSupportedText[] = "+CME ERROR: operation not supported";

}  // namespace

void AtDialog::Type(std::string_view characters) {
  typed_ += characters;
  Run();
}

void AtDialog::Answer(bool ok, const std::string& text) {
  waiting_ = false;
  if (ok) {
    ShowText(text);
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

void AtDialog::HangUp() {
  editor_.Clear();
  typed_.clear();
  commands_.clear();
  running_ = false;
  waiting_ = false;
  output_.clear();
  notices_.clear();
  notice_bytes_ = 0;
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
  if (!last_) Fail();
}

void AtDialog::Execute(AtCommand& command) {
  command.cmee = settings_.cmee;
  if (command.op != AtManager::kOpNone && forward_(command)) {
    waiting_ = true;
    return;
  }
  std::string info;
  if (RunBuiltIn(command, settings_, info)) {
    ShowText(info);
  } else {
    Fail();
  }
}

void AtDialog::Fail() {
  if (settings_.cmee == 0) {
    Finish("ERROR", "4");
  } else {
    Finish(settings_.cmee == 1 ? kNotSupportedNumber : kNotSupportedText, nullptr);
  }
}

// The final result: `number` is what it is called without words, if it has one.
void AtDialog::Finish(const std::string& word, const char* number) {
  running_ = false;
  commands_.clear();
  if (settings_.quiet) return;
  if (settings_.verbose || number == nullptr) {
    ShowText(word);
  } else {
    output_ += number;
    output_ += settings_.line_end;
  }
}

void AtDialog::ShowText(const std::string& text) {
  if (text.empty()) return;
  const std::string line_break{settings_.line_end, settings_.line_feed};
  if (settings_.verbose) output_ += line_break;
  const size_t size = text.back() == '\n' ? text.size() - 1 : text.size();
  for (size_t i = 0; i < size; ++i) {
    if (text[i] == '\n') {
      output_ += line_break;
    } else {
      output_ += text[i];
    }
  }
  output_ += line_break;
}

// One at a time: the next one when it has been shown.
void AtDialog::ReleaseNotices() {
  if (notices_.empty() || !wants_input() || !editor_.empty()) return;
  ShowText(notices_.front());
  notice_bytes_ -= notices_.front().size();
  notices_.pop_front();
}

}  // namespace kor::modem
