// SPDX-License-Identifier: Apache-2.0
#include "at/at_modem.h"

#include <pthread.h>
#include <sys/epoll.h>

#include <algorithm>
#include <cctype>
#include <system_error>
#include <thread>
#include <utility>

#include "common/log.h"
#include "kutil/signals_blocked.h"

namespace kor::modem {

namespace {

constexpr char kThreadName[] = "kwwan-at";  // At most 15 characters.

uint64_t NumberOf(const AtCommand& command) { return command.client_data[0] | uint64_t{command.client_data[1]} << 32; }

void TakeOutput(AtDialog& dialog, std::string& shown) {
  while (!dialog.output().empty()) {
    shown += dialog.output();
    dialog.Shown(dialog.output().size());
  }
}

// The lines that are not empty, separated by '\n'.
std::string Lines(const std::string& shown) {
  std::string lines;
  for (const char c : shown) {
    if (c == '\r' || (c == '\n' && (lines.empty() || lines.back() == '\n'))) continue;
    lines += c;
  }
  if (!lines.empty() && lines.back() == '\n') lines.pop_back();
  return lines;
}

}  // namespace

void AtModem::SetReport(ModemPort::AtReport report) {
  kor::util::MutexLock lock(mutex_);
  report_ = std::move(report);
}

void AtModem::SetAnswerLimit(Milliseconds limit) {
  kor::util::MutexLock lock(mutex_);
  answer_limit_ = std::max(limit, Milliseconds(1));
}

void AtModem::RegisterNames(const std::list<std::string>& names) {
  kor::util::MutexLock lock(mutex_);
  for (std::string name : names) {
    for (char& c : name) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
    names_.insert(std::move(name));
  }
}

AtBackend AtModem::BackendFor(int32_t place) {
  return {[this, place](const AtCommand& command) KOR_REQUIRES(mutex_) { return ForwardLocked(place, command); }, ask_};
}

bool AtModem::ForwardLocked(int32_t place, const AtCommand& command) {
  if (names_.count(command.name) == 0) return false;
  Place& from = places_.at(place);
  from.awaited = ++last_number_;
  if (from.terminal != nullptr) from.terminal->LimitWait(answer_limit_);
  events_.Post(Milliseconds(0), [this, marked = Marked(command, place, from.awaited)]() mutable { Report(marked); });
  return true;
}

AtCommand AtModem::Marked(const AtCommand& command, int32_t place, uint64_t number) {
  AtCommand marked = command;
  marked.client_ref = place;
  marked.client_data = {static_cast<uint32_t>(number), static_cast<uint32_t>(number >> 32), 0, 0};
  return marked;
}

void AtModem::Report(AtCommand& command) {
  ModemPort::AtReport report;
  {
    kor::util::MutexLock lock(mutex_);
    report = report_;
  }
  if (report) report(command);
}

kor::Result AtModem::Answer(const AtCommand& command, bool ok, const std::string& text) {
  kor::util::MutexLock lock(mutex_);
  const auto found = places_.find(command.client_ref);
  if (found == places_.end()) return kor::Result::kFailure;
  const Place& place = found->second;
  if (!place.dialog->waiting() || place.awaited != NumberOf(command)) return kor::Result::kFailure;
  AnswerAt(place, ok, text);
  return kor::Result::kSuccess;
}

void AtModem::AnswerAt(const Place& place, bool ok, const std::string& text) {
  place.dialog->Answer(ok, text);
  if (place.terminal != nullptr) {
    place.terminal->Update();
  } else {
    place.answered->Signal();
  }
}

void AtModem::Reset() {
  kor::util::MutexLock lock(mutex_);
  names_.clear();
  for (const auto& entry : places_) {
    if (entry.second.dialog->waiting()) AnswerAt(entry.second, false, "");
  }
}

void AtModem::Notify(const std::string& text) {
  kor::util::MutexLock lock(mutex_);
  for (AtTerminal& terminal : terminals_) {
    terminal.dialog().Notify(text);
    terminal.Update();
  }
}

std::string AtModem::Type(const std::string& line) {
  kor::util::Condition answered;
  kor::util::MutexLock lock(mutex_);
  const int32_t place = ++last_place_;
  AtDialog dialog(BackendFor(place));
  dialog.settings().echo = 0;
  places_[place] = {&dialog, nullptr, &answered, 0};
  dialog.Type(line + "\r");
  std::string shown;
  TakeOutput(dialog, shown);
  while (dialog.waiting()) {
    const uint64_t awaited = places_[place].awaited;
    const auto limit_us = std::chrono::microseconds(answer_limit_).count();
    const bool passed = answered.WaitUntil(mutex_, limit_us) == kor::Result::kTimeout;
    if (passed && dialog.waiting() && places_[place].awaited == awaited) dialog.Answer(false, "");
    TakeOutput(dialog, shown);
  }
  places_.erase(place);
  return Lines(shown);
}

std::string AtModem::OpenTerminal() {
  kor::util::MutexLock lock(mutex_);
  if (terminals_.size() >= kMaxTerminals) return "";
  try {
    return AddTerminalLocked();
  } catch (const std::system_error& error) {
    KOR_LOG(LOG_ERR, "Cannot open a terminal: %s\n", error.what());
    return "";
  }
}

std::string AtModem::AddTerminalLocked() {
  if (watched_ == nullptr) StartLocked();
  const int32_t place = ++last_place_;
  AtTerminal& terminal = terminals_.emplace_back(watched_->epoll_fd.get(), watched_->opens, BackendFor(place));
  places_[place] = {&terminal.dialog(), &terminal, nullptr, 0};
  return terminal.path();
}

void AtModem::StartLocked() {
  auto watched = std::make_unique<Watched>();
  AddForReading(watched->epoll_fd.get(), watched->opens.fd());
  const kor::util::SignalsBlocked blocked;
  std::thread([this, fd = watched->epoll_fd.get()] { ServeTerminals(fd); }).detach();
  watched_ = std::move(watched);
}

// Whatever is ready, all terminals are looked at: they are few, and the opens are noticed for all of them at once.
void AtModem::ServeTerminals(int epoll_fd) {
  pthread_setname_np(pthread_self(), kThreadName);
  for (;;) {
    epoll_event ready{};
    if (epoll_wait(epoll_fd, &ready, 1, -1) != 1) continue;
    kor::util::MutexLock lock(mutex_);
    do {
      for (AtTerminal& terminal : terminals_) terminal.HandleReady();
    } while (watched_->opens.TakeNews());
  }
}

}  // namespace kor::modem
