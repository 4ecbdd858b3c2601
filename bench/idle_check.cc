// SPDX-License-Identifier: Apache-2.0
// A host with every service running and a call up, over the simulated modem, left alone: how often do its threads wake?
//
//   idle_check [SECONDS]    60
#include <dirent.h>
#include <syslog.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <thread>

#include "simulator/sim_modem.h"
#include "wwan/at_manager.h"
#include "wwan/data_manager.h"
#include "wwan/device_manager.h"
#include "wwan/dns_ctrl_manager.h"
#include "wwan/gps_manager.h"
#include "wwan/mobileap_manager.h"
#include "wwan/network_manager.h"
#include "wwan/sim_manager.h"
#include "wwan/sms_manager.h"

namespace kor::bench {
namespace {

using kor::util::IPFamily;
using kor::wwan::AtManager;

constexpr int kSeconds = 60;
constexpr int kNames = 50;                  // Three requests: the timer that spaces them runs too, ...
constexpr std::chrono::seconds kSettle{3};  // ... for two seconds.

struct Host {
  kor::wwan::DnsCtrlManager dns;
  kor::wwan::DataManager data;
  AtManager at;
  kor::wwan::NetworkManager network;
  kor::wwan::SmsManager sms;
  kor::wwan::MobileapManager lan;
  kor::wwan::DeviceManager device;
  kor::wwan::SimManager sim;
  kor::wwan::GpsManager gps;

  bool Start() {
    const auto ignore = [](kor::util::EventDic&) {};
    dns.SetEventCb(ignore);
    data.SetEventCb(ignore);
    network.SetEventCb(ignore);
    sms.SetEventCb(ignore);
    const auto answer = [](AtManager::Command&) {
      AtManager::CmdResponse response;
      response.result = true;
      return response;
    };
    for (int i = 0; i < kNames; ++i) at.RegisterCallback("+IDLE" + std::to_string(i), answer, nullptr);
    at.StartService();
    return dns.StartService() && data.Connect(0, IPFamily::kIpv4, true) == kor::Result::kSuccess &&
           data.Connect(0, IPFamily::kIpv6, true) == kor::Result::kSuccess;
  }
};

struct Thread {
  std::string name;
  long wakeups = 0;
};

Thread ReadThread(const std::string& id) {
  std::ifstream status("/proc/self/task/" + id + "/status");
  Thread thread;
  for (std::string word; status >> word;) {
    if (word == "Name:") status >> thread.name;
    if (word == "voluntary_ctxt_switches:") status >> thread.wakeups;
  }
  return thread;
}

// All threads but the one that asks, by their ids: each wake-up ends with one voluntary switch.
std::map<std::string, Thread> ReadThreads() {
  std::map<std::string, Thread> threads;
  DIR* const tasks = opendir("/proc/self/task");
  const std::string self = std::to_string(gettid());
  while (const dirent* const task = readdir(tasks)) {
    if (task->d_name[0] != '.' && task->d_name != self) threads[task->d_name] = ReadThread(task->d_name);
  }
  closedir(tasks);
  return threads;
}

int Main(int seconds) {
  if (getenv("KWWAN_SANDBOX") == nullptr) {
    fprintf(stderr, "idle_check: start it by script/sandbox, which has an /etc and a /var/run of its own\n");
    return 1;
  }
  setlogmask(LOG_UPTO(LOG_INFO));
  Host host;
  if (!host.Start()) {
    fprintf(stderr, "idle_check: the host did not start\n");
    return 1;
  }
  std::this_thread::sleep_for(kSettle);
  std::map<std::string, Thread> before = ReadThreads();
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  const std::map<std::string, Thread> after = ReadThreads();

  long wakeups = 0;
  for (const auto& [id, thread] : after) {
    const long more = thread.wakeups - before[id].wakeups;
    if (more != 0)
      fprintf(stderr, "idle_check: thread %s (%s) woke %ld times\n", id.c_str(), thread.name.c_str(), more);
    wakeups += more;
  }
  printf("idle seconds=%d threads=%zu wakeups %ld\n", seconds, after.size(), wakeups);
  return 0;
}

}  // namespace
}  // namespace kor::bench

int main(int argc, char** argv) { return kor::bench::Main(argc > 1 ? atoi(argv[1]) : kor::bench::kSeconds); }
