// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <atomic>
#include <string>

#include "dns/dns_ctrl_service.h"
#include "support/dns_files.h"
#include "support/files.h"
#include "support/scripted_vendor.h"
#include "support/syslog_reader.h"
#include "support/wait.h"

namespace kor::test {

using kor::wwan::DnsCtrlService;

// The sandbox as it was, whatever an earlier test in the same process has left in it.
class CleanTest : public testing::Test {
 protected:
  CleanTest() {
    setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
    umask(022);
    (void)umount2(kRunDir, MNT_DETACH);
    Shell(
        "for process in /proc/[0-9]*; do [ \"$(cat $process/comm)\" != dnsmasq ] || kill -9 ${process#/proc/}; done;"
        "for link in rmnet_data0 eth7; do [ ! -e /proc/sys/net/ipv4/conf/$link ] || ip link del $link; done;"
        "rm -rf /data/permanent-dns.conf /tmp/dnsmasq /tmp/target /run/netctld-dnsmasq /etc/resolv.conf /etc/loop;"
        "echo 'nameserver 192.0.2.1' > /etc/resolv.conf");
  }
};

// A service over scripted calls, on the sandbox's real files.
class DnsTest : public CleanTest {
 protected:
  DnsTest() {
    service_.callbacks_.Add(this, [this](kor::util::EventDic& ev) {
      EXPECT_EQ(0x303u, ev.event);
      EXPECT_TRUE(ev.params.empty());
      EXPECT_EQ(nullptr, ev.data);
      ++updates_;
    });
  }

  static void SetServers(uint32_t index, IPFamily family, const std::string& dns_1, const std::string& dns_2) {
    Vendor::Set([&](Answers& a) {
      if (a.policies.size() <= index) a.policies.resize(index + 1);
      a.configs[{index, family}] = {family, "192.0.2.9", dns_1, dns_2};
    });
  }

  // The server list after a change of the setting.
  std::string After(DnsCtrlService::DnsSettingType setting) {
    EXPECT_TRUE(service_.ChangeDnsSetting(setting));
    return ReadFile(kServerList);
  }

  int TakeUpdates() { return updates_.exchange(0); }

  SyslogReader log_;
  DnsCtrlService service_;
  std::atomic<int> updates_{0};
};

}  // namespace kor::test
