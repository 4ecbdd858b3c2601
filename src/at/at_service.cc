// SPDX-License-Identifier: Apache-2.0
// The one instance and its holders, the start and end of its thread, the queue that the thread empties, and the
// commands that it serves.
#include "at/at_service.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cctype>
#include <exception>
#include <iterator>
#include <list>
#include <thread>
#include <utility>

#include "at/at_text.h"
#include "at/run_guarded.h"
#include "common/kernel_log.h"
#include "common/log.h"
#include "common/vendor/ats_qmi_client.h"

namespace kor::wwan {

using kor::vendor::qcom::qmi::AtsQmiClient;

namespace {

constexpr char kServeCommand[] = "void kor::wwan::AtService::ServeCommand(kor::wwan::AtManager::Command&)";

bool IsLogged(int priority) { return (setlogmask(0) & LOG_MASK(priority)) != 0; }

thread_local const AtService* t_served = nullptr;  // A service thread serves one service all its life.

}  // namespace

AtService* AtService::s_ins_ = nullptr;
int AtService::ref_cnt = 0;
kor::util::Mutex& AtService::s_mutex_ =
    *new kor::util::Mutex(rank::kAtHolders);  // Outlives exit(): managers may be in use then.

AtService* AtService::GetInstance() {
  kor::util::MutexLock lock(s_mutex_);
  if (s_ins_ == nullptr) s_ins_ = new AtService;
  ++ref_cnt;
  return s_ins_;
}

int AtService::ReleaseInstance() {
  AtService* last = nullptr;
  int left = 0;
  {
    kor::util::MutexLock lock(s_mutex_);
    left = --ref_cnt;
    if (left == 0 && s_ins_ != nullptr) {
      last = s_ins_;
      s_ins_ = nullptr;
      // Before a successor can be made: a command that reached both would be answered twice.
      last->ats_->event_cbs.Remove(last);
    }
  }
  // After the unlock: it waits for the service thread, where a handler may be about to create a manager.
  if (last != nullptr) Destroy(last);
  KOR_KERNEL_LOG_AS("int kor::wwan::AtService::ReleaseInstance()", "ref_cnt %d\n", left);
  return left;
}

bool AtService::OnServiceThread() const { return t_served == this; }

void AtService::Destroy(AtService* service) {
  if (!service->OnServiceThread()) {
    delete service;
    return;
  }
  // A handler gave up the last manager. The thread cannot wait for itself: another one does, once the handler has
  // returned and its command is answered.
  try {
    std::thread([service] { delete service; }).detach();
  } catch (const std::exception& e) {
    KOR_LOG(LOG_ERR, "Cannot destroy the AT service: %s\n", e.what());
  }
}

void AtService::GiveBack::operator()(AtsQmiClient* client) const { client->ReleaseInstance(); }

AtService::AtService() : timer_link_(std::make_shared<TimerLink>()), ats_(AtsQmiClient::GetInstance()) {
  {
    kor::util::MutexLock lock(timer_link_->mutex);
    timer_link_->service = this;
  }
  ats_->event_cbs.Add(this, [this](kor::util::EventDic& ev) { EventCb(ev); });
}

AtService::~AtService() {
  {
    kor::util::MutexLock lock(timer_link_->mutex);
    timer_link_->service = nullptr;
  }
  (void)Stop();  // Always 0.
}

int AtService::Start() {
  if (OnServiceThread()) return 0;  // It runs, or is being stopped by one who waits for this very thread.
  kor::util::MutexLock lock(state_mutex_);
  if (running_) return 0;
  EndRun();  // One that a stop message ended which was not Stop()'s.
  if (stop_msg_.empty()) stop_msg_.push_back({kMsgStop, {}});
  running_ = true;
  try {
    thread_ = std::thread([this] { ThreadLoop(); });
  } catch (...) {
    running_ = false;
    throw;
  }
  return 0;
}

int AtService::Stop() {
  if (OnServiceThread()) {
    kor::util::lock_order::Refuse(
        "a handler stops the AT service, which waits for the handler: do it on another thread");
    KOR_LOG(LOG_ERR, "The service thread cannot wait for itself\n");
    return 0;
  }
  kor::util::MutexLock lock(state_mutex_);
  if (running_.exchange(false)) PushNode(stop_msg_);
  EndRun();
  return 0;
}

// Ends a run, however its thread came to leave the loop. What it did not come to stays, but for stop messages: the next
// run must not take those for its own.
void AtService::EndRun() {
  thread_.Join();
  std::list<AtServiceMsg> dropped;  // Freed after the unlock.
  kor::util::MutexLock lock(queue_mutex_);
  for (auto msg = msg_queue_.begin(); msg != msg_queue_.end();) {
    const auto next = std::next(msg);
    if (msg->type == kMsgStop) dropped.splice(dropped.end(), msg_queue_, msg);
    msg = next;
  }
}

void AtService::EventCb(kor::util::EventDic& ev) {
  if (ev.event != kor::util::kEvtAtCommand) return;
  std::list<AtServiceMsg> node(1);
  node.front().type = kMsgAtCommand;
  if (ev.data != nullptr) node.front().cmd = *static_cast<const AtManager::Command*>(ev.data);
  PushNode(node);
}

void AtService::PushMsg(const AtServiceMsg& msg) {
  std::list<AtServiceMsg> node(1, msg);
  PushNode(node);
}

// The node was made before the lock and is spliced in under it.
void AtService::PushNode(std::list<AtServiceMsg>& node) {
  kor::util::MutexLock lock(queue_mutex_);
  msg_queue_.splice(msg_queue_.end(), node);
  // Under the lock: after it the service could end, and this object with it, before the signal.
  if (msg_queue_.size() == 1) queue_cond_.Signal();
}

std::list<AtServiceMsg> AtService::PopMsg() {
  std::list<AtServiceMsg> popped;
  kor::util::MutexLock lock(queue_mutex_);
  while (msg_queue_.empty()) queue_cond_.Wait(queue_mutex_);
  popped.splice(popped.end(), msg_queue_, msg_queue_.begin());
  return popped;
}

void AtService::ThreadLoop() {
  t_served = this;
  const long tid = syscall(SYS_gettid);
  KOR_LOG(LOG_DEBUG, "TID [%ld]\n", tid);
  KOR_KERNEL_LOG("TID [%ld]\n", tid);
  while (running_) {
    std::list<AtServiceMsg> popped = PopMsg();
    AtServiceMsg& msg = popped.front();
    if (msg.type == kMsgAtCommand) ServeCommand(msg.cmd);
    if (msg.type == kMsgRegister) MakePass();
    if (msg.type == kMsgStop) running_ = false;
  }
  RunGuarded("Release", "names", [this] { ReleaseCommands(); });
}

void AtService::ServeCommand(AtManager::Command& cmd) {
  for (char& c : cmd.name) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
  // The text costs more than the line: it is made only when somebody sees it.
  if (IsLogged(LOG_DEBUG)) {
    RunGuarded("Trace", cmd.name, [&] { KOR_LOG_AS(kServeCommand, LOG_DEBUG, "RECV %s\n", CommandText(cmd).c_str()); });
  }
  AtManager::CmdResponse response;
  if (cmd.op != AtManager::kOpNone) RunGuarded("Handler", cmd.name, [&] { response = HandleAtCommand(cmd); });
  KOR_LOG_AS(kServeCommand, LOG_DEBUG, "SEND [%s]\n", response.result ? "OK" : "ERROR");
  // A modem that does not take the answer is not told twice; an answer that there is no memory for is a failure.
  if (!RunGuarded("Answer", cmd.name, [&] { (void)SendResponse(cmd, response); })) {
    RunGuarded("Failure", cmd.name, [&] { (void)ats_->SendResponse(cmd, false, {}); });
  }
  if (response.after_send_cb) {
    RunGuarded("After-send callback", cmd.name, [&] { response.after_send_cb(response.after_send_arg); });
  }
}

AtManager::CmdResponse AtService::HandleAtCommand(AtManager::Command& cmd) {
  std::function<AtManager::CmdResponse(AtManager::Command&)> cmd_cb;
  {
    kor::util::MutexLock lock(cmd_mutex_);
    const auto entry = cmd_set_info_m_.find(cmd.name);
    if (entry != cmd_set_info_m_.end()) cmd_cb = entry->second.cmd_cb;
  }
  if (cmd_cb) return cmd_cb(cmd);
  KOR_LOG_AS("kor::wwan::AtManager::CmdResponse kor::wwan::AtService::HandleAtCommand(kor::wwan::AtManager::Command&)",
             LOG_WARNING, "No callback for %s\n", cmd.name.c_str());
  return {};
}

int AtService::SendResponse(AtManager::Command& cmd, AtManager::CmdResponse& resp) {
  return ats_->SendResponse(cmd, resp.result, ResponseText(cmd, resp));
}

}  // namespace kor::wwan
