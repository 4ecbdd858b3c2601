// SPDX-License-Identifier: Apache-2.0
// The service's life: the one instance and its holders, the start and end of its thread.
#include "at/at_service.h"

#include <exception>
#include <thread>
#include <utility>

#include "common/kernel_log.h"
#include "common/log.h"
#include "common/vendor/ats_qmi_client.h"

namespace kor::wwan {

using kor::vendor::qcom::qmi::AtsQmiClient;

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
    KOR_LOG(LOG_ERR, "The service is left behind: %s\n", e.what());
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

}  // namespace kor::wwan
