// SPDX-License-Identifier: Apache-2.0
// Prints every event of the data calls and of the DNS service, until Enter is pressed. Meanwhile the IPv4 call of
// policy 0 is brought up and taken down, so that there is something to see.
#include <cstdint>
#include <cstdio>
#include <string>

#include "wwan/data_manager.h"
#include "wwan/dns_ctrl_manager.h"

using kor::Result;
using kor::util::EventDic;
using kor::util::IPFamily;

namespace {

const char* NameOf(uint32_t event) {
  switch (event) {
    case kor::util::kEvtWwanConnected:
      return "up";
    case kor::util::kEvtWwanConnectFailed:
      return "not brought up";
    case kor::util::kEvtWwanDisconnected:
      return "down";
    case kor::util::kEvtWwanDisconnectFailed:
      return "not taken down";
    case kor::util::kEvtDnsUpdated:
      return "name servers written";
    default:
      return "another event";
  }
}

// Runs on the publisher's thread, which waits: it prints and returns, and calls no manager.
void Print(EventDic& event) {
  printf("0x%x %s", event.event, NameOf(event.event));
  const std::string handle = event.GetParam(EventDic::kParamHandle);
  if (!handle.empty()) printf(": call %s, IPv%s", handle.c_str(), event.GetParam(EventDic::kParamIpFamily).c_str());
  printf("\n");
}

}  // namespace

int main() {
  kor::wwan::DnsCtrlManager dns;
  kor::wwan::DataManager data;
  dns.SetEventCb(Print);
  data.SetEventCb(Print);
  if (!dns.StartService()) return 1;
  const bool came_and_went = data.Connect(0, IPFamily::kIpv4, true) == Result::kSuccess &&
                             data.Disconnect(0, IPFamily::kIpv4, true) == Result::kSuccess;
  getchar();
  return came_and_went ? 0 : 1;  // The managers end their subscriptions.
}
