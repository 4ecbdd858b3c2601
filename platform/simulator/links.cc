// SPDX-License-Identifier: Apache-2.0
#include "simulator/links.h"

#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstring>

#include "common/log.h"
#include "simulator/child_process.h"
#include "simulator/link_script.h"

namespace kor::modem {

namespace {

using kor::util::IPFamily;

// Name of the driver behind an interface; empty when it does not tell.
std::string DriverOf(const std::string& interface) {
  ethtool_drvinfo info{};
  info.cmd = ETHTOOL_GDRVINFO;
  ifreq request{};
  interface.copy(request.ifr_name, IFNAMSIZ - 1);
  request.ifr_data = reinterpret_cast<char*>(&info);
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return "";
  const int rc = ioctl(fd, SIOCETHTOOL, &request);
  close(fd);
  return rc == 0 ? std::string(info.driver, strnlen(info.driver, sizeof(info.driver))) : "";
}

bool Exists(const std::string& interface) { return if_nametoindex(interface.c_str()) != 0; }

bool IsPathCharacter(char c) { return isgraph(static_cast<unsigned char>(c)) != 0 && strchr("\"'\\#", c) == nullptr; }

std::string RunIp(const std::string& text) { return RunProgram({"ip", "-batch", "-"}, text); }

// The commands of both ends: in one run when they are in one namespace, otherwise ours first.
std::string RunIp(const std::string& device_text, const std::string& network_text, const std::string& carrier) {
  if (carrier.empty()) return RunIp(device_text + network_text);
  std::string reason = RunIp(device_text);
  if (!reason.empty()) return reason;
  return RunProgram({"nsenter", "--net=" + carrier, "ip", "-batch", "-"}, network_text);
}

}  // namespace

void Links::SetEnabled(bool enabled) {
  kor::util::MutexLock lock(mutex_);
  enabled_ = enabled;
  warned_ = false;
}

bool Links::SetCarrier(const std::string& path) {
  if (!path.empty() && (path[0] != '/' || !std::all_of(path.begin(), path.end(), IsPathCharacter))) return false;
  kor::util::MutexLock lock(mutex_);
  carrier_ = path;
  warned_ = false;
  return true;
}

std::string Links::NameOf(int number) {
  kor::util::MutexLock lock(mutex_);
  return enabled_ ? DeviceName(number) : "";
}

bool Links::IsForeign(int number) {
  const std::string name = DeviceName(number);
  return Exists(name) && DriverOf(name) != "veth";
}

void Links::Up(int number, IPFamily family) {
  auto link = links_.find(number);
  std::string reason;
  if (link != links_.end()) {
    reason = Extend(number, family, link->second.carrier);
  } else {
    std::string carrier;
    {
      kor::util::MutexLock lock(mutex_);
      if (!enabled_) return;
      carrier = carrier_;
    }
    reason = Create(number, family, carrier);
    if (reason.empty()) link = links_.emplace(number, Link{false, false, carrier}).first;
  }
  WarnOnce(reason);
  if (!reason.empty()) return;
  (family == IPFamily::kIpv4 ? link->second.ipv4 : link->second.ipv6) = true;
}

void Links::Down(int number, IPFamily family) {
  const auto found = links_.find(number);
  if (found == links_.end()) return;
  Link& link = found->second;
  bool& up = family == IPFamily::kIpv4 ? link.ipv4 : link.ipv6;
  if (!up) return;
  up = false;
  if (link.ipv4 || link.ipv6) {
    Shrink(number, family, link.carrier);
    return;
  }
  links_.erase(found);
  const std::string reason = RunIp(RemoveLinkText(number));
  if (!reason.empty()) KOR_LOG(LOG_WARNING, "%s is not removed: %s\n", DeviceName(number).c_str(), reason.c_str());
}

// Empty, or why there is no interface; nothing half made stays behind.
std::string Links::Create(int number, IPFamily family, const std::string& carrier) {
  const bool leftover = Exists(DeviceName(number));
  std::string reason = RunIp(CreateLinkText(number, carrier, leftover) + DeviceUpText(number, family),
                             NetworkUpText(number, family), carrier);
  if (!reason.empty() && Exists(DeviceName(number))) (void)RunIp(RemoveLinkText(number));
  return reason;
}

std::string Links::Extend(int number, IPFamily family, const std::string& carrier) {
  return RunIp(DeviceUpText(number, family), NetworkUpText(number, family), carrier);
}

void Links::Shrink(int number, IPFamily family, const std::string& carrier) {
  const std::string reason = RunIp(DeviceDownText(number, family), NetworkDownText(number, family), carrier);
  if (!reason.empty()) KOR_LOG(LOG_WARNING, "%s keeps an address: %s\n", DeviceName(number).c_str(), reason.c_str());
}

void Links::WarnOnce(const std::string& reason) {
  {
    kor::util::MutexLock lock(mutex_);
    const bool again = warned_;
    warned_ = !reason.empty();
    if (again || reason.empty()) return;
  }
  KOR_LOG(LOG_WARNING, "calls have events only, no interfaces: %s\n", reason.c_str());
}

}  // namespace kor::modem
