// SPDX-License-Identifier: Apache-2.0
#include "dns/inotify_events.h"

#include <sys/inotify.h>

#include <cstring>
#include <string>

namespace kor::wwan {

std::set<DnsCtrlService::DnsSettingType> SettingsOf(const char* bytes, size_t size, int resolv_wd, int folder_wd,
                                                    const char* name) {
  std::set<DnsCtrlService::DnsSettingType> settings;
  size_t offset = 0;
  inotify_event event{};
  while (size - offset >= sizeof(event)) {
    memcpy(&event, bytes + offset, sizeof(event));
    offset += sizeof(event);
    if (event.len > size - offset) break;
    const std::string event_name(bytes + offset, strnlen(bytes + offset, event.len));
    offset += event.len;
    if (event.wd == resolv_wd) {
      settings.insert(DnsCtrlService::kResolvConf);
    } else if (event.wd == folder_wd && event_name == name) {
      settings.insert(DnsCtrlService::kDnsmasqResolvConf);
    }
  }
  return settings;
}

}  // namespace kor::wwan
