// SPDX-License-Identifier: Apache-2.0
// The two files: the system's resolv.conf, and the list of servers that dnsmasq forwards to.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "common/dns_paths.h"
#include "common/log.h"
#include "dns/dns_ctrl_service.h"

namespace kor::wwan {

namespace {

using kor::util::IPFamily;

constexpr size_t kResolvConfSize = sizeof(kResolvConfText) - 1;

constexpr int kOpenFlags = O_NONBLOCK | O_CLOEXEC;  // A pipe in a file's place holds nobody up.
constexpr char kNoAddress[] = "0.0.0.0";            // What the modem reports for a server that it was not given.
constexpr size_t kShortestText = 4;                 // A permanent file of that many characters or fewer is none.
constexpr mode_t kResolverFileMode = 0777;          // Less the umask.
constexpr int kPassesWithRetry = 5;                 // While no server is found.
constexpr int64_t kNotReadyWaitUs = 500'000;  // Pause before a configuration that is not ready is asked for again.

// The operation that the log speaks of while its helpers work.
constexpr char kSetDnsmasqResolvConf[] = "bool kor::wwan::DnsCtrlService::SetDnsmasqResolvConf(bool)";

// The bytes of an open file, ended by a NUL; null when there are none, or no memory for them.
std::unique_ptr<char[]> ReadAll(int fd) {
  const off_t size = lseek(fd, 0, SEEK_END);
  if (size <= 0) return nullptr;
  std::unique_ptr<char[]> text(new (std::nothrow) char[static_cast<size_t>(size) + 1]());
  if (text == nullptr) return nullptr;
  lseek(fd, 0, SEEK_SET);
  [[maybe_unused]] const ssize_t n = read(fd, text.get(), static_cast<size_t>(size));  // What is missing stays NUL.
  return text;
}

// Makes `size` bytes at `text` all that the file holds, from the descriptor's offset, which is the start. In place, so
// that watches and open descriptors of the file stay good; a full disk shows at the reader, not here. Cut after the
// writing: a reader never finds the file empty in between.
void Overwrite(int fd, const char* text, size_t size) {
  [[maybe_unused]] const ssize_t n = write(fd, text, size);
  [[maybe_unused]] const int rc = ftruncate(fd, static_cast<off_t>(size));
}

// Sorted and without duplicates, whatever the order of the calls.
using Servers = std::set<std::string>;

void AddServer(const std::string& address, Servers& dns_l) {
  if (!address.empty() && address != kNoAddress) dns_l.insert(address);
}

std::string RenderServers(const Servers& dns_l) {
  std::string lines;
  for (const std::string& address : dns_l) lines.append("nameserver ").append(address).push_back('\n');
  return lines;
}

// One pass over every policy and family. False when it ended early at a configuration that is not ready.
bool GatherServers(DataManager& data_manager, size_t policies, Servers& dns_l) {
  DataManager::NetworkConfig config;
  for (uint32_t i = 0; i < policies; ++i) {
    for (const IPFamily family : {IPFamily::kIpv4, IPFamily::kIpv6}) {
      config.address.clear();
      config.dns_1.clear();
      config.dns_2.clear();
      if (data_manager.GetNetworkConfig(i, family, config) == kor::Result::kNotReady) {
        KOR_LOG_AS(kSetDnsmasqResolvConf, LOG_INFO, "Not ready yet remove current set and starts from begining\n");
        return false;
      }
      if (config.ip_family != family) continue;  // The answer is about the other family.
      AddServer(config.dns_1, dns_l);
      AddServer(config.dns_2, dns_l);
    }
  }
  return true;
}

}  // namespace

bool DnsCtrlService::ChangeDnsSetting(DnsSettingType setting_type) {
  kor::util::MutexLock lock(mutex_);
  KOR_LOG_AS("bool kor::wwan::DnsCtrlService::ChangeDnsSetting(kor::wwan::DnsCtrlService::DnsSettingType)", LOG_DEBUG,
             "setting_type %d\n", static_cast<int>(setting_type));
  // Each part logs its own failure, and the others are done all the same.
  switch (setting_type) {
    case kResolvConf:
      (void)SetResolvConf();
      break;
    case kDnsmasqResolvConf:
      (void)SetDnsmasqResolvConf(false);
      break;
    case kAll:
      if (!IsDnsmasqAlive()) (void)StartDnsmasq();
      (void)SetResolvConf();
      (void)SetDnsmasqResolvConf(true);
      break;
  }
  return true;
}

bool DnsCtrlService::SetResolvConf() {
  const int fd = open(kResolvConfPath, O_RDWR | kOpenFlags);
  if (fd < 0) {
    KOR_LOG(LOG_ERR, "Cannot find [%s] file on the system\n", kResolvConfPath);
    return false;
  }
  const std::unique_ptr<char[]> text = ReadAll(fd);
  const bool differs = text == nullptr || (text[0] != '\0' && strcmp(text.get(), kResolvConfText) != 0);
  if (differs) {
    lseek(fd, 0, SEEK_SET);
    Overwrite(fd, kResolvConfText, kResolvConfSize);
  }
  close(fd);
  return true;
}

bool DnsCtrlService::IsResolvConfValid(char* text) { return text != nullptr && strlen(text) > kShortestText; }

bool DnsCtrlService::SetDnsmasqResolvConf(bool retry) {
  std::string content;
  const int permanent_fd = open(kPermanentDnsPath, O_RDONLY | kOpenFlags);
  if (permanent_fd >= 0) {
    const std::unique_ptr<char[]> text = ReadAll(permanent_fd);
    close(permanent_fd);
    if (IsResolvConfValid(text.get())) content = text.get();
  }
  KOR_LOG(LOG_DEBUG, "%s\n", content.c_str());
  if (content.empty()) content = GatherServerLines(retry);

  mkdir(kDnsmasqDir, kDnsmasqDirMode);
  const int fd = open(kDnsmasqResolvPath, O_WRONLY | O_CREAT | kOpenFlags, kResolverFileMode);
  if (fd < 0) {
    KOR_LOG(LOG_ERR, "Cannot open %s for writing\n", kDnsmasqResolvPath);
    return false;
  }
  Overwrite(fd, content.data(), content.size());
  close(fd);

  kor::util::EventDic updated;
  updated.event = kor::util::kEvtDnsUpdated;
  // Also when the text is the same as before: a connect waits for it. Under the service lock: whoever is told finds the
  // file as it was written, not as a later refresh left it.
  callbacks_.Notify(updated);
  return true;
}

std::string DnsCtrlService::GatherServerLines(bool retry) {
  // Two of them. The service's own is kept from the first refresh on. The one of this refresh fetches the vendor
  // clients anew: those of a maker throw when the modem is gone, before the list is written; the other one would not
  // notice.
  DataManager data_manager;
  if (data_manager_ == nullptr) data_manager_ = std::make_unique<DataManager>();
  std::vector<DataManager::WwanPolicy> policy_v;
  (void)data_manager_->GetWwanPolicies(policy_v);  // What cannot be read is as good as no policy.
  KOR_LOG_AS(kSetDnsmasqResolvConf, LOG_DEBUG, "policy_v size %zd\n", policy_v.size());

  Servers dns_l;
  const int passes = retry ? kPassesWithRetry : 1;
  for (int pass = 0; pass < passes && dns_l.empty(); ++pass) {
    if (GatherServers(data_manager, policy_v.size(), dns_l)) continue;
    // Half a list would be taken for the whole one.
    dns_l.clear();
    (void)cond_.WaitUntil(mutex_, kNotReadyWaitUs);  // Nothing signals it: a pause that lets other changes through.
  }
  KOR_LOG_AS(kSetDnsmasqResolvConf, LOG_DEBUG, "dns_l size %zd\n", dns_l.size());
  return RenderServers(dns_l);
}

}  // namespace kor::wwan
