// SPDX-License-Identifier: Apache-2.0
#include "wwan/dns_ctrl_manager.h"

#include <utility>

#include "common/mutex.h"
#include "dns/dns_ctrl_service.h"
#include "lock_ranks.h"

namespace kor::wwan {

namespace {

// Held while managers are counted: before the service lock, and before the tables that a service's end takes. Outlives
// exit(), when managers may still be in use.
kor::util::Mutex& CountLock() {
  static kor::util::Mutex& lock = *new kor::util::Mutex(rank::kManagerCount);
  return lock;
}

}  // namespace

DnsCtrlService* DnsCtrlManager::s_dns_ctrl_service_ = nullptr;
int DnsCtrlManager::s_ref_cnt_ = 0;

DnsCtrlManager::DnsCtrlManager() {
  kor::util::MutexLock lock(CountLock());
  if (s_dns_ctrl_service_ == nullptr) s_dns_ctrl_service_ = new DnsCtrlService;
  ++s_ref_cnt_;
}

DnsCtrlManager::~DnsCtrlManager() {
  UnsetEventCb();
  kor::util::MutexLock lock(CountLock());
  if (--s_ref_cnt_ > 0) return;
  // Under the lock: a service made meanwhile would lose its dnsmasq to this one's end.
  delete s_dns_ctrl_service_;
  s_dns_ctrl_service_ = nullptr;
}

// From here on without the lock: while this manager lives it is counted, so the service stays.
bool DnsCtrlManager::StartService() { return s_dns_ctrl_service_->Start(); }

bool DnsCtrlManager::StopService() { return s_dns_ctrl_service_->Stop(); }

void DnsCtrlManager::SetEventCb(std::function<void(kor::util::EventDic&)> cb) {
  s_dns_ctrl_service_->callbacks_.Add(this, std::move(cb));
}

void DnsCtrlManager::UnsetEventCb() { s_dns_ctrl_service_->callbacks_.Remove(this); }

}  // namespace kor::wwan
