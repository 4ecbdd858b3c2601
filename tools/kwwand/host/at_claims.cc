// SPDX-License-Identifier: Apache-2.0
#include "kwwand/host/at_claims.h"

#include <syslog.h>

#include <atomic>
#include <chrono>
#include <map>

#include "common/mutex.h"
#include "kwwand/host/shell_command.h"
#include "kwwand/lock_ranks.h"
#include "kwwand/wire/method.h"

namespace kor::host {

namespace {

using kor::wwan::AtManager;

constexpr std::chrono::seconds kLimit{5};  // A terminal program waits about so long without doubt.
constexpr size_t kMaxOutput = 2048;

const char* OpText(int32_t op) {
  switch (op) {
    case AtManager::kOpRead:
      return "read";
    case AtManager::kOpSet:
      return "set";
    case AtManager::kOpTest:
      return "test";
    default:
      return "plain";
  }
}

std::vector<std::string> Variables(const AtManager::Command& command) {
  std::vector<std::string> variables{"AT_NAME=" + command.name, std::string("AT_OP=") + OpText(command.op)};
  for (size_t i = 0; i < command.params.size(); ++i) {
    variables.push_back("AT_PARAM_" + std::to_string(i + 1) + "=" + command.params[i]);
  }
  return variables;
}

std::string WithoutLineEnd(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
  return text;
}

bool IsHeld(const AtClaims::Entry& entry) { return entry.run || entry.answer; }

}  // namespace

struct AtClaims::Table {
  kor::util::Mutex mutex{rank::kAtClaims};
  std::map<std::string, Entry> entries KOR_GUARDED_BY(mutex);
  std::atomic<bool> cancel{false};
};

AtClaims::AtClaims() : table_(std::make_shared<Table>()) {}

AtClaims::Entry AtClaims::Claim(AtManager& at, const Entry& entry) {
  {
    kor::util::MutexLock lock(table_->mutex);
    if (table_->entries.size() >= kMaxClaims && table_->entries.count(entry.name) == 0) {
      throw RequestError(
          kBusy, "the modem keeps " + std::to_string(kMaxClaims) + " names of claimed commands, and no more can be");
    }
    Entry& kept = table_->entries[entry.name];
    kept.name = entry.name;
    kept.run = entry.run;
    kept.answer = entry.answer;
    if (kept.state == Entry::kRefused) kept.state = Entry::kPending;
  }
  // The table's lock is free: a registration's result takes it, and this call may wait for that.
  const auto table = table_;
  at.RegisterCallback(
      entry.name, [table](AtManager::Command& command) { return Serve(*table, command); },
      [table](const std::string& name, bool taken) {
        kor::util::MutexLock lock(table->mutex);
        table->entries[name].state = taken ? Entry::kRegistered : Entry::kRefused;
      });
  kor::util::MutexLock lock(table_->mutex);
  return table_->entries[entry.name];
}

bool AtClaims::Release(const std::string& name) {
  kor::util::MutexLock lock(table_->mutex);
  const auto found = table_->entries.find(name);
  if (found == table_->entries.end() || !IsHeld(found->second)) return false;
  // What the modem has made of the name is needed when it is claimed anew: it is not registered twice.
  Entry released;
  released.name = name;
  released.state = found->second.state;
  found->second = released;
  return true;
}

std::vector<AtClaims::Entry> AtClaims::List() const {
  kor::util::MutexLock lock(table_->mutex);
  std::vector<Entry> entries;
  for (const auto& [name, entry] : table_->entries) {
    if (IsHeld(entry)) entries.push_back(entry);
  }
  return entries;
}

void AtClaims::Cancel() { table_->cancel = true; }

AtManager::CmdResponse AtClaims::Serve(Table& table, const AtManager::Command& command) {
  Entry entry;
  {
    kor::util::MutexLock lock(table.mutex);
    const auto found = table.entries.find(command.name);
    if (found == table.entries.end() || !IsHeld(found->second)) {
      syslog(LOG_WARNING, "nobody serves AT%s any more\n", command.name.c_str());
      return {};
    }
    ++found->second.served;
    entry = found->second;
  }
  AtManager::CmdResponse response;
  if (entry.answer) {
    response.result = true;
    response.response = *entry.answer;
    return response;
  }
  const CommandEnd end = RunShell(*entry.run, Variables(command), kLimit, kMaxOutput, table.cancel);
  response.result = end.how == CommandEnd::kExited && end.status == 0;
  if (response.result) response.response = WithoutLineEnd(end.output);
  if (!response.result) {
    syslog(LOG_WARNING, "the command of AT%s: %s\n", command.name.c_str(), EndText(end).c_str());
  }
  return response;
}

}  // namespace kor::host
