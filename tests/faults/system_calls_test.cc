// SPDX-License-Identifier: Apache-2.0
// What the system refuses, where a user meets it: no room, no right, no descriptor, no shell, no forwarder.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <string>

#include "simulator/sim_modem.h"
#include "support/dns_files.h"
#include "support/files.h"
#include "support/footprint.h"
#include "support/story.h"
#include "support/wait.h"
#include "wwan/data_manager.h"
#include "wwan/dns_ctrl_manager.h"

namespace kor::test {
namespace {

using namespace std::chrono_literals;
using kor::util::IPFamily;
using kor::wwan::DataManager;
using kor::wwan::DnsCtrlManager;

constexpr char kList[] = "nameserver 10.255.0.53\n";  // In the file of servers while the call is up.

// A forwarder that gives up holds its folder until it has ended, and nobody waits for that end.
void Unmount(const std::string& place) {
  EXPECT_TRUE(Eventually([&] { return umount(place.c_str()) == 0; })) << place;
}

bool ForwarderRuns() {
  const std::string pid = ReadFile(kDnsmasqPidFile);
  return !pid.empty() && ReadFile("/proc/" + pid.substr(0, pid.find('\n')) + "/comm") == "dnsmasq\n";
}

rlim_t LowestFreeDescriptor() {
  const int fd = dup(STDIN_FILENO);
  close(fd);
  return static_cast<rlim_t>(fd);
}

class SystemCallsTest : public testing::Test {
 protected:
  SystemCallsTest() {
    setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
    Shell("mkdir -p /var/run/netctld-dnsmasq /tmp/full /tmp/bin");
    // All that is made once and stays is there before the first look.
    Cycle(0);
    rest_ = Footprint();
  }

  // The service's and a call's whole life: what the call's Connect ended with. `budget`: how long it waits for the
  // confirmation that the forwarder's list is written.
  void Cycle(int connected, std::chrono::microseconds budget = 10s) {
    DnsCtrlManager dns;
    DataManager data;
    kor::wwan::DataManagerPeer::SetWaitBudget(data, budget);
    EXPECT_TRUE(dns.StartService());
    EXPECT_EQ(connected, static_cast<int>(data.Connect(0, IPFamily::kIpv4, true)));
    EXPECT_TRUE(kor::modem::SimModem::Get().WaitIdle(kLongEnough));
    list_ = ReadFile(kServerList);
    EXPECT_EQ(kor::Result::kSuccess, data.Disconnect(0, IPFamily::kIpv4, true));
    (void)dns.StopService();
  }

  // Once the fault is mended all is as it should be, and nothing is left of the bad times.
  void ExpectMended() {
    EXPECT_TRUE(ComesTo(rest_));
    {
      DnsCtrlManager dns;
      DataManager data;
      EXPECT_TRUE(dns.StartService());
      EXPECT_EQ(kor::Result::kSuccess, data.Connect(0, IPFamily::kIpv4, true));
      EXPECT_EQ(kRepaired, ReadFile(kResolvConf));
      EXPECT_EQ(kList, ReadFile(kServerList));
      EXPECT_TRUE(ForwarderRuns());
      EXPECT_EQ(kor::Result::kSuccess, data.Disconnect(0, IPFamily::kIpv4, true));
    }
    EXPECT_FALSE(ForwarderRuns());
    EXPECT_TRUE(ComesTo(rest_));
  }

  std::string rest_;
  std::string list_;  // Of servers, while the last cycle's call was up.
};

TEST_F(SystemCallsTest, NoRoom) {
  // A full disk under the forwarder's folder: NULs stand for the list, and the library says that it was written.
  Shell("mount -t tmpfs -o size=4k none /var/run/netctld-dnsmasq && echo > /var/run/netctld-dnsmasq/filling");
  Cycle(0);
  EXPECT_EQ(std::string(sizeof(kList) - 1, '\0'), list_);
  Unmount("/var/run/netctld-dnsmasq");
  ExpectMended();

  // Under resolv.conf: an empty one cannot get its text. What it gets instead begins with a NUL, and whatever does so
  // is left alone: it is for the user to write the file when there is room.
  Shell("mount -t tmpfs -o size=4k none /tmp/full && echo > /tmp/full/filling && : > /tmp/full/conf");
  Shell("mount --bind /tmp/full/conf /etc/resolv.conf");
  Cycle(0);
  EXPECT_EQ(std::string(sizeof(kRepaired) - 1, '\0'), ReadFile(kResolvConf));
  Shell("rm /tmp/full/filling && : > /etc/resolv.conf");
  Cycle(0);
  EXPECT_EQ(kRepaired, ReadFile(kResolvConf));
  Unmount("/etc/resolv.conf");
  ExpectMended();
}

TEST_F(SystemCallsTest, NoRightToWrite) {
  // Nobody can be told of a list that cannot be opened: Connect fails, the call is up.
  Shell("mount -t tmpfs none /var/run/netctld-dnsmasq && mount -o remount,ro /var/run/netctld-dnsmasq");
  Cycle(1, 500ms);
  Unmount("/var/run/netctld-dnsmasq");
  ExpectMended();

  Shell("echo nameserver 192.0.2.1 > /tmp/conf && mount --bind /tmp/conf /etc/resolv.conf");
  Shell("mount -o remount,bind,ro /etc/resolv.conf");
  Cycle(0);
  EXPECT_EQ("nameserver 192.0.2.1\n", ReadFile(kResolvConf));
  Unmount("/etc/resolv.conf");
  ExpectMended();
}

TEST_F(SystemCallsTest, NoDescriptor) {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  const rlim_t plenty = limit.rlim_cur;
  const rlim_t none_left = LowestFreeDescriptor();
  // inotify, the monitors' own, and those of a moment: one after the other is the first that there is none for.
  constexpr int kAllThatAreNeeded = 10;
  for (rlim_t left = 0; left <= kAllThatAreNeeded; ++left) {
    SCOPED_TRACE(left);
    DnsCtrlManager dns;
    limit.rlim_cur = none_left + left;
    setrlimit(RLIMIT_NOFILE, &limit);
    const bool started = dns.StartService();
    limit.rlim_cur = plenty;
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_TRUE(left == 0 ? !started : started || left < kAllThatAreNeeded);
    (void)dns.StopService();
  }
  ExpectMended();
}

TEST_F(SystemCallsTest, NoShellAndNoForwarder) {
  // The files follow the calls all the same.
  Shell("mount --bind /dev/null /bin/sh");
  Cycle(0);
  EXPECT_EQ(0, umount2("/bin/sh", 0));
  EXPECT_EQ(kRepaired, ReadFile(kResolvConf));
  ExpectMended();

  for (const std::string way : {"exit 3", "kill -9 $$", "sleep 0.1; exit 0"}) {
    WriteFile("/tmp/bin/dnsmasq", "#!/bin/sh\n" + way + "\n");
    Shell("chmod +x /tmp/bin/dnsmasq");
    setenv("PATH", "/tmp/bin:/usr/sbin:/usr/bin:/sbin:/bin", 1);
    Cycle(0);
    setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
    ExpectMended();
  }
}

}  // namespace
}  // namespace kor::test
