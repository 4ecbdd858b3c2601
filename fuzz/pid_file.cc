// SPDX-License-Identifier: Apache-2.0
// dnsmasq's pid file: whatever it holds, the shell gets one of two fixed lines and a process id in digits.
#include "dns_files.h"

namespace {

constexpr char kStart[] =
    "dnsmasq -r /var/run/netctld-dnsmasq/dnsmasq_resolv.conf --pid-file=/var/run/netctld-dnsmasq/dnsmasq.pid"
    " --listen-address 127.0.0.1 --bind-dynamic --leasefile-ro";

bool IsPid(const std::string& text) {
  return !text.empty() && text[0] != '0' && text.find_first_not_of("0123456789") == std::string::npos;
}

// An operator's list, which is quicker to read than the calls.
bool FixServers() {
  kor::test::WriteFile(kor::wwan::kPermanentDnsPath, "nameserver 9.9.9.9\n");
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  using kor::fuzz::Require;
  static auto& service = *new kor::fuzz::DnsCtrlService;
  [[maybe_unused]] static const bool fixed = FixServers();
  kor::test::WriteFile(kor::wwan::kDnsmasqPidPath, kor::fuzz::TextOf(bytes, size));
  kor::fuzz::g_commands.clear();

  service.ChangeDnsSetting(kor::fuzz::DnsCtrlService::kAll);
  const bool alive = kor::fuzz::g_commands.empty();
  Require(alive || kor::fuzz::g_commands == std::vector<std::string>{kStart}, "a start runs the fixed line, once");
  kor::fuzz::g_commands.clear();

  const bool stopped = service.Stop();
  Require(stopped == (kor::fuzz::g_commands.size() == 1), "one kill for a process id, none for anything else");
  Require(stopped == (access(kor::wwan::kDnsmasqPidPath, F_OK) != 0), "a pid file that was used is gone");
  if (stopped) {
    const std::string& command = kor::fuzz::g_commands[0];
    Require(command.rfind("kill -9 ", 0) == 0 && IsPid(command.substr(8)), "a kill names a process and nothing else");
  }
  return 0;
}
