// SPDX-License-Identifier: Apache-2.0
// The registry of claimed names, and their registration with the modem: passes in batches, and the timer that spaces
// them.
#include <cinttypes>
#include <climits>
#include <list>
#include <new>
#include <utility>
#include <vector>

#include "at/at_service.h"
#include "at/run_guarded.h"
#include "common/log.h"
#include "common/vendor/ats_qmi_client.h"

namespace kor::wwan {

namespace {

constexpr int32_t kTimerBeingSet = INT_MAX;  // Counts as pending.

int64_t MicrosecondsBetween(const timespec& from, const timespec& to) {
  return (int64_t{to.tv_sec} - from.tv_sec) * 1'000'000 + (to.tv_nsec - from.tv_nsec) / 1000;
}

bool Extends(const std::string& name, const std::string& shorter) {
  return name.size() > shorter.size() && name.compare(0, shorter.size(), shorter) == 0;
}

// The callback gets `name` itself, the request's: a copy could find no memory.
void ReportResult(const std::pair<const std::string, AtService::CmdSetInfo>& entry, std::string& name, bool accepted) {
  const auto& reg_cb = entry.second.reg_cb;
  if (reg_cb) RunGuarded("Registration callback", entry.first, [&] { reg_cb(std::move(name), accepted); });
}

}  // namespace

int AtService::RegisterCallback(std::string name, std::function<AtManager::CmdResponse(AtManager::Command&)> cmd_cb,
                                std::function<void(std::string, bool)> reg_cb) {
  // What may fail comes before the registry changes: a name is claimed, pending and has its pass, or none of it.
  std::list<AtServiceMsg> pass(1);
  pass.front().type = kMsgRegister;
  Registry claim;
  const Registry::iterator made = claim.try_emplace(std::move(name)).first;
  kor::util::MutexLock lock(cmd_mutex_);
  const auto found = cmd_set_info_m_.find(made->first);
  const bool is_new = found == cmd_set_info_m_.end();
  if (is_new) pending_.insert(made);
  cmd_set_info_m_.merge(claim);  // Takes the node over when it is new. Nothing is allocated, `made` stays good.
  CmdSetInfo& info = (is_new ? made : found)->second;
  // Replaced callables are destroyed with the arguments, after the unlock.
  info.cmd_cb.swap(cmd_cb);
  info.reg_cb.swap(reg_cb);
  if (is_new) PushNode(pass);
  return 0;
}

// The client has no operation to withdraw a name with, so nothing comes of it.
int AtService::ReleaseCommands() {
  std::list<std::string> names;
  kor::util::MutexLock lock(cmd_mutex_);
  for (const auto& entry : cmd_set_info_m_) names.push_back(entry.first);
  return 0;
}

// One pass. It looks at the names that are not registered and at no others; only those that were refused just now can
// have become too many refusals.
void AtService::RegisterPending() {
  Registry given_up;  // Its callables are destroyed after the unlock.
  kor::util::MutexLock lock(cmd_mutex_);
  std::list<std::string> reg_candidate_l;
  std::vector<Pending::iterator> candidates;  // The same, where they stand: no name is searched for afterwards.
  // Once the modem has answered nothing more is allocated: what it has taken is noted, whatever the memory.
  for (auto it = pending_.begin(); it != pending_.end(); ++it) {
    const std::string& name = (*it)->first;
    // Whatever stands between a name and its extension extends it too and was held back: the last candidate decides.
    if (!reg_candidate_l.empty() && Extends(name, reg_candidate_l.back())) {
      const std::string& shorter = reg_candidate_l.back();
      KOR_LOG(LOG_WARNING, "[%s] and [%s] is dulicated if compared with size [%zu]\n", shorter.c_str(), name.c_str(),
              shorter.size());
      continue;
    }
    reg_candidate_l.push_back(name);
    candidates.push_back(it);
    if (reg_candidate_l.size() == max_reg_batch_) break;
  }
  KOR_LOG(LOG_DEBUG, "reg_candidate_l size [%zu]\n", reg_candidate_l.size());
  if (reg_candidate_l.empty()) {
    KOR_LOG(LOG_DEBUG, "No more lists to register");
    return;
  }

  if (ats_->RegisterCommands(reg_candidate_l) == 0) {
    AcceptNames(candidates, reg_candidate_l);
  } else {
    RefuseNames(candidates, reg_candidate_l, given_up);
  }
  const bool try_more = !pending_.empty();
  KOR_LOG(LOG_DEBUG, "try_more: [%d]\n", try_more ? 1 : 0);
  if (try_more) ScheduleNextPass();
}

// Only memory that has run out makes a pass fail. Its names are still pending, and go with the next pass.
void AtService::MakePass() {
  if (RunGuarded("Registration pass", "names", [this] { RegisterPending(); })) return;
  RunGuarded("Next pass", "names", [this] {
    kor::util::MutexLock lock(cmd_mutex_);
    ScheduleNextPass();
  });
}

void AtService::AcceptNames(const std::vector<Pending::iterator>& candidates, std::list<std::string>& names) {
  auto name = names.begin();
  for (const Pending::iterator candidate : candidates) {
    const Registry::iterator entry = *candidate;
    entry->second.registered = true;
    pending_.erase(candidate);
    ReportResult(*entry, *name++, true);
  }
}

void AtService::RefuseNames(const std::vector<Pending::iterator>& candidates, std::list<std::string>& names,
                            Registry& given_up) {
  auto name = names.begin();
  for (const Pending::iterator candidate : candidates) {
    std::string& refused = *name++;
    const Registry::iterator entry = *candidate;
    if (++entry->second.try_cnt <= max_reg_tries_) continue;
    ReportResult(*entry, refused, false);
    pending_.erase(candidate);
    given_up.insert(cmd_set_info_m_.extract(entry));
  }
}

void AtService::ScheduleNextPass() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const int64_t diff_us = MicrosecondsBetween(last_try_time_, now);
  last_try_time_ = now;
  KOR_LOG(LOG_DEBUG, "diff_us [%jd]\n", intmax_t{diff_us});
  // Spaced, as a modem that has refused is likely to be busy starting, and each request holds up the commands.
  if (diff_us >= reg_interval_us_) {
    PushMsg({kMsgRegister, {}});
    return;
  }
  if (timer_id_ >= 0) return;

  const long long time_us = reg_interval_us_ - diff_us;
  KOR_LOG(LOG_DEBUG, "Start Timer time_us %lld\n", time_us);
  timer_id_ = kTimerBeingSet;
  const auto fire = [link = timer_link_](int timer_id, void* user_data) {
    kor::util::MutexLock lock(link->mutex);
    return link->service != nullptr && link->service->TimerHandler(timer_id, user_data);
  };
  int timer_id = -1;
  try {
    timer_id = timer_manager_.AddTask(time_us, fire, nullptr);
  } catch (...) {
    timer_id_ = -1;
    throw;
  }
  int32_t expected = kTimerBeingSet;
  timer_id_.compare_exchange_strong(expected, timer_id);  // Unless it has fired already.
}

bool AtService::TimerHandler(int, void*) {
  std::list<AtServiceMsg> pass;
  try {
    pass.push_back({kMsgRegister, {}});
  } catch (const std::bad_alloc&) {
    return true;  // Nobody else would bring the names to the modem: the timer stays pending and fires again.
  }
  timer_id_ = -1;
  PushNode(pass);
  return false;
}

}  // namespace kor::wwan
