// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <set>

#include "dns/dns_ctrl_service.h"

namespace kor::wwan {

// The setting changes that `size` bytes read from an inotify descriptor ask for. Every event on the watch `resolv_wd`
// counts, the one of its end included, and every event on `folder_wd` that names the file `name`. A record that does
// not fit in what was read ends the walk.
std::set<DnsCtrlService::DnsSettingType> SettingsOf(const char* bytes, size_t size, int resolv_wd, int folder_wd,
                                                    const char* name);

}  // namespace kor::wwan
