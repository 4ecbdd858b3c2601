// SPDX-License-Identifier: Apache-2.0
// /etc/resolv.conf: whatever it holds, it is repaired, or left alone when it is right or begins with a NUL.
#include "dns_files.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static auto& service = *new kor::fuzz::DnsCtrlService;
  const std::string repaired = "#AUTOMATICALLY EDITED BY NETCTLD\nnameserver 127.0.0.1\n";
  const std::string before(reinterpret_cast<const char*>(bytes), size);
  const bool right = kor::fuzz::CText(bytes, size) == repaired || (size > 0 && bytes[0] == 0);
  kor::fuzz::Write(kor::wwan::kResolvConfPath, bytes, size);
  service.ChangeDnsSetting(kor::fuzz::DnsCtrlService::kResolvConf);
  kor::fuzz::Require(kor::fuzz::Read(kor::wwan::kResolvConfPath) == (right ? before : repaired), "repaired or right");
  kor::fuzz::Require(kor::fuzz::g_commands.empty(), "no shell is needed");
  return 0;
}
