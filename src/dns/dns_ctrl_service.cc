// SPDX-License-Identifier: Apache-2.0
// The service's life: watches, subscriptions, and the two callbacks that turn outside changes into setting changes.
#include "dns/dns_ctrl_service.h"

#include <libgen.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <string>

#include "common/dns_paths.h"
#include "common/log.h"
#include "dns/inotify_events.h"

namespace kor::wwan {

namespace {

constexpr uint32_t kWatchMask = IN_MODIFY | IN_MOVED_TO | IN_CREATE | IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF;
constexpr size_t kInotifyBufferSize = 2048;
constexpr size_t kPathSize = 4096;
constexpr int kMaxLinks = 40;  // As many as the kernel follows.
constexpr char kDataInterfacePrefix[] = "rmnet_data";

constexpr char kAddFileWatcher[] = "int kor::wwan::DnsCtrlService::AddFileWatcher(int, const char*, bool)";
constexpr char kEventCb[] = "void kor::wwan::DnsCtrlService::EventCb(kor::util::EventDic&)";
[[maybe_unused]] constexpr char kFromItsCallback[] =
    "a DNS callback starts or stops the service, which waits for the callback: do it on another thread";

// Where a link at `link` leads: a relative target starts at the link's own folder.
std::string TargetPath(const std::string& link, const std::string& target) {
  if (target.front() == '/') return target;
  return link.substr(0, link.rfind('/') + 1) + target;
}

}  // namespace

DnsCtrlService::DnsCtrlService() {
  fd_monitor_ = kor::util::FdMonitor::Get(0);
  if (fd_monitor_ == nullptr) fd_monitor_ = kor::util::FdMonitor::Create();
}

DnsCtrlService::~DnsCtrlService() { (void)Stop(); }

bool DnsCtrlService::Start() {
  kor::util::lock_order::RefuseHolding(mutex_, kFromItsCallback);
  if (inotify_fd_ != -1) {
    KOR_LOG(LOG_DEBUG, "DnsCtrlService already started\n");
    return true;
  }
  // The watches come before the first refresh, so that no change falls between the two. One that cannot be placed is
  // not taken back here: the service counts as started, and Stop() releases what was taken.
  inotify_fd_ = inotify_init1(IN_CLOEXEC);  // Not for dnsmasq and the shells.
  if (inotify_fd_ == -1) return false;
  resolv_conf_wd_ = AddFileWatcher(inotify_fd_, kResolvConfPath, true);
  if (resolv_conf_wd_ < 0) {
    KOR_LOG(LOG_ERR, "Cannot monitor file %s exit program\n", kResolvConfPath);
    return false;
  }
  permanent_dns_wd_ = AddFileWatcher(inotify_fd_, kPermanentDnsPath, false);
  if (permanent_dns_wd_ < 0) {
    KOR_LOG(LOG_ERR, "Cannot monitor file %s exit program\n", kPermanentDnsPath);
    return false;
  }
  // From here on refreshes may run on other threads. The service lock comes after: to replace a subscription is to wait
  // for its callback, which may be waiting for the lock.
  network_manager_.SetEventCb([this](kor::util::EventDic& event_dic) { EventCb(event_dic); });
  fd_monitor_->Add(inotify_fd_, kor::util::FdType::kRead, [this](int fd, kor::util::FdType type) { FdCb(fd, type); });

  kor::util::MutexLock lock(mutex_);
  // The files are written even when dnsmasq could not be started: the next interface event tries again.
  if (!IsDnsmasqAlive()) (void)StartDnsmasq();
  (void)SetResolvConf();
  (void)SetDnsmasqResolvConf(false);
  return true;
}

bool DnsCtrlService::Stop() {
  kor::util::lock_order::RefuseHolding(mutex_, kFromItsCallback);
  kor::util::lock_order::Locking(mutex_);  // A refresh that is waited for takes it.
  if (inotify_fd_ != -1) {
    RemoveWatch(resolv_conf_wd_);
    RemoveWatch(permanent_dns_wd_);
    fd_monitor_->Remove(inotify_fd_, kor::util::FdType::kRead);
    close(inotify_fd_);
    inotify_fd_ = -1;
  }
  network_manager_.UnsetEventCb();
  if (data_manager_ != nullptr) data_manager_->UnsetEventCb();
  return KillDnsmasq();
}

void DnsCtrlService::RemoveWatch(std::atomic<int>& wd) {
  if (wd > 0) inotify_rm_watch(inotify_fd_, wd.exchange(-1));
}

int DnsCtrlService::AddFileWatcher([[maybe_unused]] int fd, const char* path, bool watch_file) {
  std::string current(path);
  char target[kPathSize] = {};
  for (int links = 0; links < kMaxLinks; ++links) {
    const ssize_t size = readlink(current.c_str(), target, sizeof(target) - 1);
    if (size <= 0) break;
    target[size] = '\0';
    KOR_LOG_AS(kAddFileWatcher, LOG_DEBUG, "%s file is symbolic linked to %s\n", current.c_str(), target);
    current = TargetPath(current, target);
  }

  char final_path[kPathSize] = {};
  static_assert(kPathSize >= PATH_MAX, "realpath writes that much");
  if (realpath(current.c_str(), final_path) == nullptr) {
    final_path[current.copy(final_path, sizeof(final_path) - 1)] = '\0';
    KOR_LOG_AS(kAddFileWatcher, LOG_DEBUG, "%s %d new path %s\n", __func__, __LINE__, final_path);
  }
  if (!watch_file) {
    KOR_LOG_AS(kAddFileWatcher, LOG_DEBUG, "%s is removable file, so let's watch folder instead of file\n", final_path);
    std::string copy(final_path);
    const char* dir_name = dirname(copy.data());
    if (dir_name == nullptr) {
      KOR_LOG_AS(kAddFileWatcher, LOG_DEBUG, "No Directory for file %s\n", final_path);
      return -1;
    }
    KOR_LOG_AS(kAddFileWatcher, LOG_DEBUG, "dir_name %s\n", dir_name);
    final_path[std::string(dir_name).copy(final_path, sizeof(final_path) - 1)] = '\0';
    KOR_LOG_AS(kAddFileWatcher, LOG_DEBUG, "new path set as directory named %s %s\n", final_path, dir_name);
  }
  KOR_LOG_AS(kAddFileWatcher, LOG_DEBUG, "final path %s\n", final_path);
  return inotify_add_watch(inotify_fd_, final_path, kWatchMask);
}

void DnsCtrlService::FdCb(int fd, [[maybe_unused]] kor::util::FdType type) {
  char buffer[kInotifyBufferSize] = {};
  // What does not fit keeps the descriptor ready, and this is called again. All events of one read make one change of
  // each kind: our own writing causes some, and an editor's saving several.
  const ssize_t size = read(fd, buffer, sizeof(buffer));
  if (size <= 0) return;
  std::string permanent_path(kPermanentDnsPath);
  const char* permanent_name = basename(permanent_path.data());
  for (const DnsSettingType setting :
       SettingsOf(buffer, static_cast<size_t>(size), resolv_conf_wd_, permanent_dns_wd_, permanent_name)) {
    ChangeDnsSetting(setting);
  }
}

void DnsCtrlService::EventCb(kor::util::EventDic& event_dic) {
  if (event_dic.event >= kor::util::kEvtWwanConnected)
    KOR_LOG_AS(kEventCb, LOG_DEBUG, "event_dic [0x%x]\n", event_dic.event);
  if (event_dic.event != kor::util::kEvtNetIface) return;
  const std::string name = event_dic.GetParam(kor::util::EventDic::kParamIfaceName);
  // Every change of such an interface, an address that went included: the modem has no event for "other servers now".
  if (name.rfind(kDataInterfacePrefix, 0) == 0) ChangeDnsSetting(kAll);
}

}  // namespace kor::wwan
