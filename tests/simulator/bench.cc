// SPDX-License-Identifier: Apache-2.0
#include "simulator/bench.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>

#include <map>
#include <utility>

#include "common/router_events.h"
#include "support/wait.h"

namespace kor::test {

namespace {

using kor::util::EventDic;

std::string Name(uint32_t event) {
  static const std::map<uint32_t, std::string> kNames{{kor::util::kEvtWwanConnected, "connected"},
                                                      {kor::util::kEvtWwanConnectFailed, "connect-failed"},
                                                      {kor::util::kEvtWwanDisconnected, "disconnected"},
                                                      {kor::util::kEvtWwanDisconnectFailed, "disconnect-failed"}};
  const auto name = kNames.find(event);
  return name == kNames.end() ? "unknown" : name->second;
}

std::string Name(ConnectStatus status) {
  constexpr const char* kNames[] = {"none", "connecting", "connected", "disconnecting", "disconnected"};
  return kNames[static_cast<size_t>(status)];
}

std::string Name(kor::Result result) {
  if (result == kSuccess) return "success";
  if (result == kFailure) return "failure";
  return result == kNotReady ? "not-ready" : std::to_string(static_cast<int>(result));
}

std::string OrDash(const std::string& text) { return text.empty() ? "-" : text; }

bool IsGlobal(const sockaddr* address) {
  if (address->sa_family == AF_INET) return true;
  return address->sa_family == AF_INET6 &&
         !IN6_IS_ADDR_LINKLOCAL(&reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr);
}

std::string Text(const sockaddr* address) {
  char text[NI_MAXHOST] = "";
  const auto size = static_cast<socklen_t>(address->sa_family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6));
  getnameinfo(address, size, text, sizeof(text), nullptr, 0, NI_NUMERICHOST);
  return text;
}

}  // namespace

Listener::Listener(QcmapWrapper* qcmap) : qcmap_(qcmap) {
  qcmap_->event_cbs.Add(this, [this](EventDic& ev) {
    if (ev.event == kor::util::kEvtModemState) return;  // Calls only.
    Hear(Name(ev.event) + " " + ev.params[EventDic::kParamHandle] + " " + ev.params[EventDic::kParamIpFamily]);
  });
}

Listener::~Listener() { qcmap_->event_cbs.Remove(this); }

void Listener::Hear(const std::string& text) {
  std::function<std::string()> look;
  {
    kor::util::MutexLock lock(mutex_);
    look = look_;
  }
  heard_.Add(text + (look ? ", " + look() : ""));
}

void Listener::Observe(std::function<std::string()> look) {
  kor::util::MutexLock lock(mutex_);
  look_ = std::move(look);
}

std::string BenchTest::States(uint32_t index) {
  ConnectStatus ipv4 = ConnectStatus::kNone;
  ConnectStatus ipv6 = ConnectStatus::kNone;
  return qcmap->GetWwanConnectStatus(index, ipv4, ipv6) ? Name(ipv4) + " " + Name(ipv6) : "unknown";
}

std::string BenchTest::Config(uint32_t index, IPFamily family) {
  NetworkConfig config{family, "stale", "stale", "stale"};
  const std::string result = Name(qcmap->GetNetworkConfig(index, family, config));
  if (config.ip_family != family) return result + (config.dns_1.empty() && config.dns_2.empty() ? "" : " stale");
  return result + " " + OrDash(config.address) + " " + OrDash(config.dns_1) + " " + OrDash(config.dns_2);
}

std::string BenchTest::Connect(uint32_t index, IPFamily family) {
  const kor::Result result = qcmap->ConnectBackhaul(index, family);
  return result == kSuccess ? listener.Next() : Name(result);
}

std::string BenchTest::Disconnect(uint32_t index, IPFamily family) {
  const kor::Result result = qcmap->DisconnectBackhaul(index, family);
  return result == kSuccess ? listener.Next() : Name(result);
}

void BenchTest::BringUp(uint32_t index, IPFamily family) { ASSERT_EQ(0u, Connect(index, family).find("connected ")); }

void BenchTest::ExpectQuiet() {
  EXPECT_TRUE(modem.WaitIdle(kLongEnough));
  // What was heard before the modem became idle is there already: a last event of our own shows it.
  kor::util::EventDic ev;
  qcmap->event_cbs.Notify(ev);
  EXPECT_EQ(0u, listener.Next().find("unknown"));
}

std::string Addresses(const std::string& interface) {
  if (if_nametoindex(interface.c_str()) == 0) return "absent";
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return "unreadable";
  std::string text;
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (interface != entry->ifa_name || entry->ifa_addr == nullptr || !IsGlobal(entry->ifa_addr)) continue;
    text += (text.empty() ? "" : " ") + Text(entry->ifa_addr);
  }
  freeifaddrs(list);
  return text.empty() ? "none" : text;
}

}  // namespace kor::test
