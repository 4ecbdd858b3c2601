// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "common/condition.h"
#include "common/event_dic.h"
#include "common/export.h"
#include "common/mutex.h"
#include "common/util/thread.h"
#include "common/util/timer_manager.h"
#include "lock_ranks.h"
#include "wwan/at_manager.h"

namespace kor::wwan {

// What the service thread is to do. Types that are not listed are taken off the queue and ignored.
constexpr int32_t kMsgStop = 1;       // End the loop.
constexpr int32_t kMsgAtCommand = 2;  // Serve `cmd`.
constexpr int32_t kMsgRegister = 3;   // Run one registration pass.

struct AtServiceMsg {
  int32_t type = 0;
  AtManager::Command cmd;
};

// The AT service behind every AtManager: a registry of claimed names, a queue of messages, and one thread that takes
// them one by one to serve commands and to register names with the modem.
//
// Thread safety: EventCb() comes on the AT client's thread, TimerHandler() on the timer manager's; HandleAtCommand(),
// SendResponse(), ThreadLoop() and the passes belong to the service thread; the rest on client threads.
// Locks: the AT client's table, or the registry, or the lifecycle, or the timer link first; the queue last.
//
// Ownership: counted. The AT client lives as long as the process. Timers may outlive the service: they reach it through
// a link that is cut first of all.
class KOR_EXPORT AtService {
 public:
  // One claimed name.
  struct CmdSetInfo {
    std::function<AtManager::CmdResponse(AtManager::Command&)> cmd_cb;
    std::function<void(std::string, bool)> reg_cb;
    bool registered = false;  // Never set back.
    int32_t try_cnt = 0;      // Refused requests that carried the name.
  };

  AtService(const AtService&) = delete;
  AtService& operator=(const AtService&) = delete;

  // Takes part in the process's one service, which the first call creates.
  static AtService* GetInstance() KOR_EXCLUDES(s_mutex_);

  // Gives that up; the last holder's call stops and destroys the service (from the service thread itself: soon after
  // the handler has returned). The number of holders left.
  static int ReleaseInstance() KOR_EXCLUDES(s_mutex_);

  // Starts the service thread, if it does not run. 0, or throws what std::thread throws, or std::bad_alloc, and is
  // stopped as before. On the service thread it does nothing.
  int Start() KOR_EXCLUDES(state_mutex_);

  // Ends it between two messages and waits for that. What is queued stays, in order. Always 0; allocates nothing, so
  // that the last manager's end cannot fail. On the service thread, which cannot wait for itself, it logs that and does
  // nothing; a debug build ends the process.
  int Stop() KOR_EXCLUDES(state_mutex_);

  // Puts the callables into the registry; a new name queues a pass. Always 0, and nothing is changed when it throws
  // std::bad_alloc.
  int RegisterCallback(std::string name, std::function<AtManager::CmdResponse(AtManager::Command&)> cmd_cb,
                       std::function<void(std::string, bool)> reg_cb) KOR_EXCLUDES(cmd_mutex_);

  // Gathers the claimed names, and no more: the AT client has no means to give names back. Always 0.
  int ReleaseCommands() KOR_EXCLUDES(cmd_mutex_);

  // What the handler of the command's exact name answers, or a failure when there is none. Throws what it throws.
  AtManager::CmdResponse HandleAtCommand(AtManager::Command& cmd) KOR_EXCLUDES(cmd_mutex_);

  // Renders the answer and hands it to the AT client, whose result it returns.
  int SendResponse(AtManager::Command& cmd, AtManager::CmdResponse& resp);

  // Something happened at the AT client: a forwarded command is copied into the queue.
  void EventCb(kor::util::EventDic& ev) KOR_EXCLUDES(queue_mutex_);

  // The time for another pass has come. False: not again; true when there is no memory to ask for the pass.
  bool TimerHandler(int timer_id, void* user_data) KOR_EXCLUDES(queue_mutex_);

  // The service thread.
  void ThreadLoop();

  // Appends a copy. The service thread is woken when the queue was empty.
  void PushMsg(const AtServiceMsg& msg) KOR_EXCLUDES(queue_mutex_);

  // The one service, null iff it has no holders, and their number. For diagnostics. s_ins_ changes under s_mutex_ and
  // stands still while there is a holder.
  static AtService* s_ins_;
  static int ref_cnt KOR_GUARDED_BY(s_mutex_);

 private:
  friend struct AtServicePeer;

  using Registry = std::map<std::string, CmdSetInfo>;

  struct NameOrder {
    bool operator()(Registry::iterator a, Registry::iterator b) const { return a->first < b->first; }
  };

  using Pending = std::set<Registry::iterator, NameOrder>;

  // What a timer holds: the way to the service, or to nothing once that is being destroyed.
  struct TimerLink {
    kor::util::Mutex mutex{rank::kAtTimerLink};
    AtService* service KOR_GUARDED_BY(mutex) = nullptr;
  };

  struct GiveBack {
    KOR_HIDDEN void operator()(kor::vendor::qcom::qmi::AtsQmiClient* client) const;
  };

  KOR_HIDDEN AtService();
  // Requires: no event of the AT client comes any more.
  KOR_HIDDEN ~AtService();

  KOR_HIDDEN bool OnServiceThread() const;
  KOR_HIDDEN static void Destroy(AtService* service);
  KOR_HIDDEN void EndRun() KOR_REQUIRES(state_mutex_) KOR_EXCLUDES(queue_mutex_);
  KOR_HIDDEN void PushNode(std::list<AtServiceMsg>& node) KOR_EXCLUDES(queue_mutex_);
  KOR_HIDDEN std::list<AtServiceMsg> PopMsg() KOR_EXCLUDES(queue_mutex_);
  KOR_HIDDEN void ServeCommand(AtManager::Command& cmd);

  KOR_HIDDEN void MakePass() KOR_EXCLUDES(cmd_mutex_);
  KOR_HIDDEN void RegisterPending() KOR_EXCLUDES(cmd_mutex_);
  KOR_HIDDEN void AcceptNames(const std::vector<Pending::iterator>& candidates, std::list<std::string>& names)
      KOR_REQUIRES(cmd_mutex_);
  KOR_HIDDEN void RefuseNames(const std::vector<Pending::iterator>& candidates, std::list<std::string>& names,
                              Registry& given_up) KOR_REQUIRES(cmd_mutex_);
  KOR_HIDDEN void ScheduleNextPass() KOR_REQUIRES(cmd_mutex_);

  KOR_HIDDEN static kor::util::Mutex& s_mutex_;  // Held while holders are counted.

  // Constant after construction.
  const std::shared_ptr<TimerLink> timer_link_;
  int32_t reg_interval_us_ = 2'000'000;  // Passes that leave work are at least so far apart.
  int32_t max_reg_tries_ = 5;            // A name is given up when it was refused more often.
  uint32_t max_reg_batch_ = 20;          // Most names in one request.

  // The queue, oldest first. No callable runs and nothing is logged under its lock. Signalled when it was empty, which
  // is enough for one consumer that sleeps on an empty queue only.
  kor::util::Mutex queue_mutex_{rank::kAtQueue};
  kor::util::Condition queue_cond_;
  std::list<AtServiceMsg> msg_queue_ KOR_GUARDED_BY(queue_mutex_);

  // The lifecycle: held for the whole of Start() and Stop(), so that a start never meets a thread that is still ending.
  kor::util::Mutex state_mutex_{rank::kAtLifecycle};
  kor::util::Thread thread_ KOR_GUARDED_BY(state_mutex_);
  std::list<AtServiceMsg> stop_msg_ KOR_GUARDED_BY(state_mutex_);  // Made by Start(), so that Stop() cannot fail.
  std::atomic<bool> running_{false};  // Looked at by the service thread between two messages.

  // The registry. Its lock is held for the whole of a pass, the request to the modem and every reg_cb included.
  kor::util::Mutex cmd_mutex_{rank::kAtRegistry};
  Registry cmd_set_info_m_ KOR_GUARDED_BY(cmd_mutex_);
  Pending pending_ KOR_GUARDED_BY(cmd_mutex_);              // The names not registered.
  timespec last_try_time_ KOR_GUARDED_BY(cmd_mutex_) = {};  // When a pass last left work.

  std::atomic<int32_t> timer_id_{-1};  // Not negative iff a retry timer is pending.
  kor::util::TimerManager timer_manager_;

  // Constant after construction. Taken last and given back first.
  const std::unique_ptr<kor::vendor::qcom::qmi::AtsQmiClient, GiveBack> ats_;
};

}  // namespace kor::wwan
