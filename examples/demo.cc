// SPDX-License-Identifier: Apache-2.0
// A day in the life of a data call, told step by step. Runs in script/sandbox --carrier; script/demo does that.
#include <sys/socket.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>

#include "at_story.h"
#include "device_story.h"
#include "event_times.h"
#include "log_tail.h"
#include "modem/sim_modem.h"
#include "narrator.h"
#include "observe.h"
#include "require.h"
#include "wwan/data_manager.h"
#include "wwan/dns_ctrl_manager.h"

namespace kor::demo {

namespace {

using kor::modem::SimModem;
using kor::util::IPFamily;
using kor::wwan::DataManager;
using kor::wwan::DnsCtrlManager;

constexpr uint32_t kPolicy = 0;
constexpr char kResolvConf[] = "/etc/resolv.conf";
constexpr char kResolverFile[] = "/var/run/netctld-dnsmasq/dnsmasq_resolv.conf";
constexpr char kPidFile[] = "/var/run/netctld-dnsmasq/dnsmasq.pid";
constexpr char kCarrierNamespace[] = "/run/netns/carrier";
constexpr char kPortal[] = "portal.carrier.example";  // Only the carrier's name server knows it.

// How a call of one family looks from outside.
struct Family {
  IPFamily code;
  int socket_family;
  const char* name;
  const char* server;
  const char* portal_address;
};
constexpr Family kIpv4{IPFamily::kIpv4, AF_INET, "IPv4", "10.255.0.53", "10.255.0.80"};
constexpr Family kIpv6{IPFamily::kIpv6, AF_INET6, "IPv6", "fd64:ffff::53", "fd64:ffff::80"};

std::string Reason(kor::Result result) {
  return "result " + std::to_string(static_cast<int>(result)) + "; script/demo --log shows what the library saw";
}

bool Holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

class Demo {
 public:
  explicit Demo(Narrator& story) : story_(story) {
    SimModem& modem = SimModem::Get();
    modem.SetCarrierNamespace(kCarrierNamespace);
    modem.SetConnectDelay(std::chrono::milliseconds(1000));
    modem.SetDisconnectDelay(std::chrono::milliseconds(200));
    modem.SetNotReadyQueries(1);
    const auto record = [this](kor::util::EventDic& event) { events_.Add(event); };
    data_.SetEventCb(record);
    dns_.SetEventCb(record);
  }

  void Run() {
    story_.Chapter("The DNS service takes over the resolver");
    StartService();
    story_.Chapter("An IPv4 call comes up, and with it its name server");
    Connect(kIpv4);
    LookUpPortal(kIpv4);
    story_.Chapter("An IPv6 call beside it");
    Connect(kIpv6);
    story_.Chapter("The network drops the IPv4 call; IPv6 carries on");
    DropByNetwork(kIpv4);
    LookUpPortal(kIpv6);
    story_.Chapter("All is taken down, and nothing is left");
    Disconnect(kIpv6);
    StopService();
    CheckNothingLeft();
    TellAtCommands(story_);
    TellDevice(story_);
  }

 private:
  void StartService() {
    ShowFile("before", kResolvConf, "nameserver");
    story_.Begin("StartService()");
    Require(dns_.StartService(), "it returned false; script/demo --log shows why");
    story_.Done("running");
    ShowFile("after", kResolvConf, "nameserver 127.0.0.1");
    story_.Begin("dnsmasq");
    Require(Eventually([] { return LiveProcess(kPidFile) != 0; }), "no live process in its pid file");
    story_.Done("process " + std::to_string(LiveProcess(kPidFile)));
  }

  void Connect(const Family& family) {
    events_.Restart();
    story_.Begin(std::string("Connect(0, ") + family.name + ", wait)");
    const kor::Result result = data_.Connect(kPolicy, family.code, true);
    Require(result == kor::Result::kSuccess, Reason(result));
    story_.Done("connected");
    NoteEvent(kor::util::kEvtWwanConnected, "  call is up (0x200)");
    NoteEvent(kor::util::kEvtDnsUpdated, "  servers are written (0x303)");
    ShowInterface(family);
    ShowFile("", kResolverFile, family.server);
  }

  void DropByNetwork(const Family& family) {
    DataManager::WwanStatus status;
    events_.Restart();
    story_.Begin(std::string("the network drops ") + family.name);
    Require(data_.GetWwanStatus(kPolicy, status), "policy 0 has no status");
    Require(SimModem::Get().Drop(status.policy.handle, family.code), "the call was not up");
    story_.Done("call " + std::to_string(status.policy.handle));
    NoteEvent(kor::util::kEvtWwanDisconnected, "  call is down (0x202)");
    story_.Begin("its server leaves the file");
    Require(Eventually([&] { return !Holds(ReadFile(kResolverFile), family.server); }), "still in the resolver file");
    story_.Done(std::string(family.server) + " gone");
    ShowFile("", kResolverFile, kIpv6.server);
  }

  void Disconnect(const Family& family) {
    events_.Restart();
    story_.Begin(std::string("Disconnect(0, ") + family.name + ", wait)");
    const kor::Result result = data_.Disconnect(kPolicy, family.code, true);
    Require(result == kor::Result::kSuccess, Reason(result));
    story_.Done("disconnected");
    NoteEvent(kor::util::kEvtWwanDisconnected, "  call is down (0x202)");
  }

  void StopService() {
    const pid_t dnsmasq = LiveProcess(kPidFile);
    story_.Begin("StopService()");
    Require(dns_.StopService(), "it returned false");
    story_.Done("stopped");
    story_.Begin("dnsmasq");
    Require(dnsmasq != 0 && Eventually([=] { return !IsAlive(dnsmasq); }), "still runs, or did not run before");
    story_.Done("process " + std::to_string(dnsmasq) + " gone");
  }

  void CheckNothingLeft() {
    story_.Begin("data interfaces, pid file");
    Require(Eventually([] { return !HasDataInterface(); }), "a data interface is left");
    Require(ReadFile(kPidFile).empty(), "the pid file is left");
    story_.Done("gone");
    ShowFile("stays", kResolvConf, "nameserver 127.0.0.1");
  }

  void NoteEvent(uint32_t code, const std::string& what) {
    EventTimes::Arrival arrival;
    story_.Begin(what);
    Require(events_.Wait(code, arrival), "this event did not come");
    story_.Done(arrival.handle.empty() ? "" : "handle " + arrival.handle + ", IPv" + arrival.ip_family,
                arrival.seconds);
  }

  void ShowInterface(const Family& family) {
    story_.Begin("kernel: interface, address");
    Require(Eventually([&] { return !DataInterface(family.socket_family).empty(); }),
            std::string("no data interface with an ") + family.name + " address");
    story_.Done(DataInterface(family.socket_family));
  }

  // Waits until a file says `expected`, and shows it.
  void ShowFile(const std::string& when, const std::string& path, const std::string& expected) {
    const std::string name = path.substr(path.rfind('/') + 1);
    story_.Begin(when.empty() ? name : name + ", " + when);
    Require(Eventually([&] { return Holds(ReadFile(path), expected); }), "does not say \"" + expected + "\"");
    story_.Done(ReadFile(path));
  }

  // libc asks 127.0.0.1, dnsmasq there asks the carrier's name server over the call.
  void LookUpPortal(const Family& family) {
    std::string answer;
    story_.Begin(kPortal);
    const bool found = Eventually([&] {
      answer = LookUp(kPortal, family.socket_family);
      return answer == family.portal_address;
    });
    Require(found, std::string("looked up over ") + family.name + ": " + answer);
    story_.Done(answer + " over " + family.name);
  }

  Narrator& story_;
  EventTimes events_;
  DnsCtrlManager dns_;
  DataManager data_;
};

int Main(bool with_log) {
  Narrator story;
  std::unique_ptr<LogTail> log;
  bool ok = false;
  try {
    if (with_log) log = std::make_unique<LogTail>([&](const std::string& line) { story.Log(line); });
    Demo(story).Run();
    ok = true;
  } catch (const std::exception& error) {
    story.Failed(error.what());
  }
  story.End(ok);
  return ok ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

}  // namespace kor::demo

int main(int argc, char** argv) {
  const bool with_log = argc == 2 && strcmp(argv[1], "--log") == 0;
  const char* sandbox = getenv("KWWAN_SANDBOX");
  if (sandbox == nullptr || strcmp(sandbox, "1") != 0 || (argc > 1 && !with_log)) {
    fputs("The demo uses /etc/resolv.conf and makes interfaces: run it as script/demo [--log].\n", stderr);
    return EXIT_FAILURE;
  }
  return kor::demo::Main(with_log);
}
