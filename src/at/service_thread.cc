// SPDX-License-Identifier: Apache-2.0
// The queue and the service thread that empties it: forwarded commands are served here, one by one.
#include <sys/syscall.h>
#include <unistd.h>

#include <cctype>
#include <iterator>
#include <list>
#include <utility>

#include "at/at_service.h"
#include "at/at_text.h"
#include "at/client_code.h"
#include "common/kernel_log.h"
#include "common/log.h"
#include "common/vendor/ats_qmi_client.h"

namespace kor::wwan {

namespace {

constexpr char kServeCommand[] = "void kor::wwan::AtService::ServeCommand(kor::wwan::AtManager::Command&)";

bool IsLogged(int priority) { return (setlogmask(0) & LOG_MASK(priority)) != 0; }

thread_local const AtService* t_served = nullptr;  // A service thread serves one service all its life.

}  // namespace

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

// The node was made before the lock and is spliced in under it. The signal after the unlock finds this object alive:
// callers hold the AT client's table, the timer link or the registry locked, or are holders themselves.
void AtService::PushNode(std::list<AtServiceMsg>& node) {
  bool was_empty = false;
  {
    kor::util::MutexLock lock(queue_mutex_);
    was_empty = msg_queue_.empty();
    msg_queue_.splice(msg_queue_.end(), node);
  }
  if (was_empty) queue_cond_.Signal();
}

std::list<AtServiceMsg> AtService::PopMsg() {
  std::list<AtServiceMsg> popped;
  kor::util::MutexLock lock(queue_mutex_);
  while (msg_queue_.empty()) queue_cond_.Wait(queue_mutex_);
  popped.splice(popped.end(), msg_queue_, msg_queue_.begin());
  return popped;
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

bool AtService::OnServiceThread() const { return t_served == this; }

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

}  // namespace kor::wwan
