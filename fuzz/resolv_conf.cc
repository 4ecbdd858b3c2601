// SPDX-License-Identifier: Apache-2.0
// /etc/resolv.conf: whatever it holds, it is repaired, or left alone when it is right or begins with a NUL.
#include "dns_files.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static auto& service = *new kor::fuzz::DnsCtrlService;
  const std::string repaired = "#AUTOMATICALLY EDITED BY NETCTLD\nnameserver 127.0.0.1\n";
  const std::string before = kor::fuzz::TextOf(bytes, size);
  const bool right = kor::fuzz::CText(before) == repaired || (size > 0 && bytes[0] == 0);
  kor::test::WriteFile(kor::wwan::kResolvConfPath, before);
  service.ChangeDnsSetting(kor::fuzz::DnsCtrlService::kResolvConf);
  kor::fuzz::Require(kor::test::ReadFile(kor::wwan::kResolvConfPath) == (right ? before : repaired),
                     "repaired or right");
  kor::fuzz::Require(kor::fuzz::g_commands.empty(), "no shell is needed");
  return 0;
}
