// SPDX-License-Identifier: Apache-2.0
// What is read from the inotify descriptor: two watch numbers, then the bytes.
#include <algorithm>
#include <cstdint>

#include "dns/inotify_events.h"
#include "require.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  using kor::wwan::DnsCtrlService;
  if (size < 2) return 0;
  const auto settings = [bytes](size_t length) {
    return kor::wwan::SettingsOf(reinterpret_cast<const char*>(bytes) + 2, length, bytes[0], bytes[1],
                                 "permanent-dns.conf");
  };
  const auto all = settings(size - 2);
  for (const auto setting : all) {
    kor::fuzz::Require(setting == DnsCtrlService::kResolvConf || setting == DnsCtrlService::kDnsmasqResolvConf,
                       "only the two settings come from files");
  }
  const auto half = settings((size - 2) / 2);
  kor::fuzz::Require(std::includes(all.begin(), all.end(), half.begin(), half.end()), "a cut adds nothing");
  return 0;
}
