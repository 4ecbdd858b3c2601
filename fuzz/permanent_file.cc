// SPDX-License-Identifier: Apache-2.0
// The operator's list of servers: a text of more than four characters becomes the forwarder's list as it is, anything
// else counts for nothing.
#include "dns_files.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static auto& service = *new kor::fuzz::DnsCtrlService;
  const std::string whole = kor::fuzz::TextOf(bytes, size);
  const std::string text = kor::fuzz::CText(whole);
  kor::test::WriteFile(kor::wwan::kPermanentDnsPath, whole);
  service.ChangeDnsSetting(kor::fuzz::DnsCtrlService::kDnsmasqResolvConf);
  kor::fuzz::Require(kor::test::ReadFile(kor::wwan::kDnsmasqResolvPath) == (text.size() > 4 ? text : ""),
                     "all or nothing");
  kor::fuzz::Require(kor::fuzz::g_commands.empty(), "no shell is needed");
  (void)kor::test::Vendor::Take();
  return 0;
}
