// SPDX-License-Identifier: Apache-2.0
// The first program: brings the IPv4 call of policy 0 up, tells its address, and takes it down again.
#include <cstdio>

#include "wwan/data_manager.h"
#include "wwan/dns_ctrl_manager.h"

using kor::Result;
using kor::util::IPFamily;
using kor::wwan::DataManager;

int main() {
  kor::wwan::DnsCtrlManager dns;
  if (!dns.StartService()) {
    puts("The DNS service did not start; the system log says why.");
    return 1;
  }

  DataManager data;
  if (data.Connect(0, IPFamily::kIpv4, true) != Result::kSuccess) {
    puts("The call did not come up.");
    return 1;
  }
  DataManager::WwanStatus status;
  DataManager::NetworkConfig config;
  if (data.GetWwanStatus(0, status) && data.GetNetworkConfig(0, IPFamily::kIpv4, config) == Result::kSuccess) {
    const bool connected = status.ipv4_status == DataManager::ConnectStatus::kConnected;
    printf("The call is %s, address %s, name server %s.\n", connected ? "up" : "not up", config.address.c_str(),
           config.dns_1.c_str());
  }
  return data.Disconnect(0, IPFamily::kIpv4, true) == Result::kSuccess ? 0 : 1;
}
