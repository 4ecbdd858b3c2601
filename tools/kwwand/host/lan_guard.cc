// SPDX-License-Identifier: Apache-2.0
#include "kwwand/host/lan_guard.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

#include "common/result.h"
#include "kwwand/host/event_json.h"
#include "kwwand/host/words.h"
#include "shared/dns_files.h"
#include "shared/fd.h"

namespace kor::host {

namespace {

constexpr std::chrono::seconds kRollBackRetry{5};  // Of a rollback at the start of the host.
constexpr auto kRefused = kor::Result::kPreconditionFailed;

Json LanText(const LanConfig& lan) { return {{"gateway", lan.gw}, {"netmask", lan.nm}}; }

constexpr mode_t kJournalMode = 0644;

// What LanJson() has made. Throws Json::exception, and RequestError when it is no LAN that can be set.
LanConfig Parse(const std::string& text) {
  const Json json = Json::parse(text);
  const LanConfig lan{true,           json.at("gateway"), json.at("netmask"), json.at("dhcp"), json.at("start"),
                      json.at("end"), json.at("lease_s")};
  return Changed(lan, {});
}

// A file of our own, whatever stands there. True, or errno says why not.
bool WriteFile(const std::string& path, const std::string& text) {
  unlink(path.c_str());
  const kor::tools::Fd fd(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kJournalMode));
  if (!fd.is_open()) return false;
  errno = ENOSPC;  // Of a write that takes a part only.
  return write(fd.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

}  // namespace

void LanJournal::Keep(const LanConfig& before) {
  if (path_.empty()) return;
  const std::string fresh = path_ + ".new";
  if (WriteFile(fresh, LanJson(before).dump() + '\n') && rename(fresh.c_str(), path_.c_str()) == 0) return;
  const std::string why = kor::tools::SystemError(path_).what();
  unlink(fresh.c_str());
  throw RequestError(static_cast<int>(kor::Result::kFailure),
                     "the present settings cannot be saved for a rollback, nothing was changed: " + why);
}

bool LanJournal::Forget() {
  if (path_.empty() || unlink(path_.c_str()) == 0 || errno == ENOENT) return true;
  syslog(LOG_ERR, "%s: %m\n", path_.c_str());
  return false;
}

std::optional<LanConfig> LanJournal::Kept() const {
  struct stat file {};
  if (path_.empty() || lstat(path_.c_str(), &file) != 0) return std::nullopt;
  try {
    if (file.st_uid != geteuid()) throw std::runtime_error("it is another user's");
    return Parse(kor::tools::ReadTextFile(path_).text.value_or(""));
  } catch (const std::exception& e) {
    syslog(LOG_ERR, "%s: an unconfirmed LAN change is not rolled back: %s\n", path_.c_str(), e.what());
    return std::nullopt;
  }
}

LanGuard::State LanGuard::ShowLocked() {
  State state;
  state.lan = lan_.GetLanConfig();
  Check(state.lan.valid, "reading the LAN configuration");
  if (open_) {
    const std::chrono::duration<double> left = open_->end - std::chrono::steady_clock::now();
    state.confirm_in_s = std::max(left.count(), 0.0);
  }
  return state;
}

// A change to take back after `delay`. False when there is no timer for that.
bool LanGuard::OpenFor(std::chrono::seconds delay, const LanConfig& before) {
  const uint64_t number = ++changes_;
  open_ = Open{number, before, std::chrono::steady_clock::now() + delay};
  const auto task = [this, number](int, void*) { return TimeIsUp(number); };
  return timer_.AddTask(std::chrono::microseconds(delay).count(), task, nullptr) >= 0;
}

void LanGuard::Recover() {
  kor::util::MutexLock lock(mutex_);
  const auto before = journal_.Kept();
  if (!before) return;
  const bool retried = OpenFor(kRollBackRetry, *before);
  if (!RollBackLocked("the host was killed before it was confirmed") && !retried) open_.reset();
}

LanGuard::State LanGuard::Show() {
  kor::util::MutexLock lock(mutex_);
  return ShowLocked();
}

LanGuard::State LanGuard::Set(const LanChange& change, std::optional<std::chrono::seconds> confirm) {
  kor::util::MutexLock lock(mutex_);
  if (open_) {
    throw RequestError(static_cast<int>(kRefused),
                       "an earlier change awaits confirmation: confirm it or roll it back first");
  }
  const LanConfig before = ShowLocked().lan;
  LanConfig lan = Changed(before, change);
  if (confirm) {
    journal_.Keep(before);
  } else {
    Check(journal_.Forget(), "forgetting an earlier change, which the next host would take back");
  }
  if (!lan_.SetLanConfig(lan, true)) {
    LanConfig back = before;
    const bool restored = lan_.SetLanConfig(back, true);
    if (restored) (void)journal_.Forget();  // Otherwise the next host tries once more.
    Check(false, restored ? "writing the LAN configuration (the previous one is in force)"
                          : "writing the LAN configuration, and restoring the previous one");
  }
  if (confirm && !OpenFor(*confirm, before)) {
    RollBackLocked("no timer");
    Check(false, "no timer for the confirmation, the LAN is as before");
  }
  return ShowLocked();
}

LanGuard::State LanGuard::Confirm() {
  kor::util::MutexLock lock(mutex_);
  if (!open_) throw RequestError(static_cast<int>(kRefused), "no LAN change awaits confirmation");
  Check(journal_.Forget(), "keeping the change for good");
  open_.reset();
  return ShowLocked();
}

LanGuard::State LanGuard::RollBack(const char* why) {
  kor::util::MutexLock lock(mutex_);
  if (!open_) throw RequestError(static_cast<int>(kRefused), "no LAN change awaits confirmation");
  Check(RollBackLocked(why), "rolling the LAN back");
  return ShowLocked();
}

void LanGuard::Close() {
  kor::util::MutexLock lock(mutex_);
  if (open_) (void)RollBackLocked("the host ends");  // The log says when it failed.
}

// The change stays open when it cannot be taken back.
bool LanGuard::RollBackLocked(const char* why) {
  LanConfig before = open_->before;
  if (!lan_.SetLanConfig(before, true)) {
    syslog(LOG_ERR, "the LAN cannot be rolled back to %s\n", before.gw.c_str());
    return false;
  }
  open_.reset();
  (void)journal_.Forget();
  syslog(LOG_NOTICE, "the LAN is rolled back to %s: %s\n", before.gw.c_str(), why);
  Json members = LanText(before);
  members["why"] = why;
  sink_.Send(OwnEventJson("lan rolled back", members));
  return true;
}

// True: try again.
bool LanGuard::TimeIsUp(uint64_t number) {
  kor::util::MutexLock lock(mutex_);
  return open_ && open_->number == number && !RollBackLocked("not confirmed in time");
}

}  // namespace kor::host
