// SPDX-License-Identifier: Apache-2.0
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <regex>
#include <set>
#include <stdexcept>
#include <vector>

#include "dns/dns_fixture.h"
#include "dns/inotify_events.h"
#include "kutil/probes.h"
#include "support/no_memory.h"
#include "wwan/dns_ctrl_manager.h"

namespace kor::test {
namespace {

using kor::wwan::DnsCtrlManager;
using kor::wwan::SettingsOf;
using Settings = std::set<DnsCtrlService::DnsSettingType>;

class ServiceTest : public DnsTest {
 protected:
  ~ServiceTest() override { service_.Stop(); }

  // The settings that were changed since the last call, in order, as "13".
  std::string TakeChanges() {
    std::string changes;
    for (const auto& line : log_.TakeWith("setting_type ")) changes += line[line.size() - 2];
    return changes;
  }

  // Collects changes until they end with `last`.
  bool ChangesEndWith(char last) {
    std::string changes;
    return Eventually([&] {
      changes += TakeChanges();
      return !changes.empty() && changes.back() == last;
    });
  }
};

TEST_F(ServiceTest, FollowsFilesAndDataInterfaces) {
  SetServers(0, IPFamily::kIpv4, "8.8.8.8", "");
  ASSERT_TRUE(service_.Start());
  EXPECT_EQ(kRepaired, ReadFile(kResolvConf));
  EXPECT_EQ("nameserver 8.8.8.8\n", ReadFile(kServerList));
  EXPECT_EQ(1, TakeUpdates());

  // Somebody else writes resolv.conf: repaired, and our own repair does not go round in circles.
  EXPECT_TRUE(ChangesEndWith('1'));  // The event of the first repair.
  WriteFile(kResolvConf, "nameserver 1.2.3.4\n");
  EXPECT_TRUE(Eventually([] { return ReadFile(kResolvConf) == kRepaired; }));
  EXPECT_TRUE(ChangesEndWith('1'));

  // The permanent file comes, changes and goes; its neighbours do not matter.
  WriteFile("/data/other.conf", "nameserver 6.6.6.6\n");
  WriteFile(kPermanentFile, "nameserver 9.9.9.9\n");
  EXPECT_TRUE(Eventually([] { return ReadFile(kServerList) == "nameserver 9.9.9.9\n"; }));
  Shell("echo nameserver 9.9.9.10 > /data/new && mv /data/new /data/permanent-dns.conf");  // As editors save.
  EXPECT_TRUE(Eventually([] { return ReadFile(kServerList) == "nameserver 9.9.9.10\n"; }));
  Shell("rm /data/permanent-dns.conf && ln /data/other.conf /data/permanent-dns.conf");  // Made with its text.
  EXPECT_TRUE(Eventually([] { return ReadFile(kServerList) == "nameserver 6.6.6.6\n"; }));
  unlink(kPermanentFile);
  EXPECT_TRUE(Eventually([] { return ReadFile(kServerList) == "nameserver 8.8.8.8\n"; }));
  EXPECT_EQ(std::string::npos, TakeChanges().find('3'));

  // A data interface appears: everything is refreshed. Other interfaces are not looked at.
  Shell("ip link add eth7 type veth peer name not_rmnet_data0");
  SetServers(0, IPFamily::kIpv4, "8.8.4.4", "");
  Shell("ip link add rmnet_data0 type veth peer name far0");
  EXPECT_TRUE(Eventually([] { return ReadFile(kServerList) == "nameserver 8.8.4.4\n"; }));
  EXPECT_TRUE(ChangesEndWith('3'));

  // resolv.conf is moved away: nothing to repair, which is said.
  (void)log_.Take();
  Shell("mv /etc/resolv.conf /etc/aside");
  EXPECT_TRUE(Eventually([&] { return !log_.TakeWith("Cannot find [/etc/resolv.conf]").empty(); }));
}

// A stop waits for the refresh that runs, then kills dnsmasq, which the refresh would have started again.
TEST_F(ServiceTest, DnsmasqIsKilledWhenNoRefreshRunsAnyMore) {
  SetServers(0, IPFamily::kIpv4, "8.8.8.8", "");
  Vendor::Set([](Answers& a) { a.not_ready = 1000; });
  ASSERT_TRUE(service_.Start());
  EXPECT_EQ(1u, log_.TakeWith("Not ready").size());  // A start asks the calls once.
  ASSERT_TRUE(Eventually([] { return !ReadFile(kDnsmasqPidFile).empty(); }));

  Shell("ip link add rmnet_data0 type veth peer name far0");
  ASSERT_TRUE(Eventually([&] { return !log_.TakeWith("Not ready").empty(); }));
  Vendor::Set([](Answers& a) { a.not_ready = 1; });
  EXPECT_TRUE(service_.Stop());
  const Calls lines = log_.TakeWith("kor::wwan::DnsCtrlService::S");
  ASSERT_LE(3u, lines.size());
  EXPECT_NE(std::string::npos, lines.end()[-3].find("dns_l size 1"));
  EXPECT_NE(std::string::npos, lines.end()[-2].find("Try to kill"));
}

TEST_F(ServiceTest, NothingIsLeftToTheProgramsThatItStarts) {
  WriteFile("/tmp/dnsmasq", "#!/bin/sh\nls /proc/self/fd > /tmp/inherited\n");
  Shell("chmod +x /tmp/dnsmasq");
  setenv("PATH", "/tmp:/usr/sbin:/usr/bin:/sbin:/bin", 1);
  Shell("dnsmasq");
  const std::string before = ReadFile("/tmp/inherited");
  unlink("/tmp/inherited");
  ASSERT_TRUE(service_.Start());  // Everything is open when it starts dnsmasq.
  EXPECT_EQ(before, ReadFile("/tmp/inherited"));
}

TEST_F(ServiceTest, InterfaceEventsAreToldByCodeAndName) {
  const auto changes = [this](uint32_t event, const std::string& name) {
    kor::util::EventDic ev;
    ev.event = event;
    ev.params[kor::util::EventDic::kParamIfaceName] = name;
    service_.EventCb(ev);
    return TakeChanges();
  };
  EXPECT_EQ("3", changes(0x103, "rmnet_data0"));
  EXPECT_EQ("3", changes(0x103, "rmnet_data"));
  EXPECT_EQ("", changes(0x103, "rmnet_ipa0"));
  EXPECT_EQ("", changes(0x103, "xrmnet_data0"));
  EXPECT_EQ("", changes(0x103, ""));
  EXPECT_EQ("", changes(0x102, "rmnet_data0"));
  (void)log_.Take();
  EXPECT_EQ("", changes(0x1ff, "rmnet_data0"));
  kor::util::EventDic ev;
  ev.event = 0x200;
  service_.EventCb(ev);
  EXPECT_EQ((Calls{"7 void kor::wwan::DnsCtrlService::EventCb(kor::util::EventDic&) #: event_dic [0x200]\n"}),
            log_.Take());
}

// One record as the kernel writes it.
std::string Record(int wd, uint32_t mask, const std::string& name, uint32_t len) {
  inotify_event event{};
  event.wd = wd;
  event.mask = mask;
  event.len = len;
  std::string bytes(reinterpret_cast<const char*>(&event), sizeof(event));
  return bytes + name;
}

TEST_F(ServiceTest, OneReadOfManyEventsIsAtMostTwoChanges) {
  const std::string permanent = std::string("permanent-dns.conf") + std::string(14, '\0');
  const auto settings = [](const std::string& bytes) {
    const std::vector<char> exact(bytes.begin(), bytes.end());  // A read past its end is seen by the sanitizer.
    return SettingsOf(exact.data(), exact.size(), 1, 2, "permanent-dns.conf");
  };
  const std::string both = Record(2, IN_MODIFY, permanent, 32) + Record(2, IN_MODIFY, permanent, 32) +
                           Record(2, IN_CREATE, std::string("other\0\0\0", 8), 8) + Record(1, IN_IGNORED, "", 0);
  EXPECT_EQ((Settings{DnsCtrlService::kResolvConf, DnsCtrlService::kDnsmasqResolvConf}), settings(both));
  EXPECT_EQ((Settings{DnsCtrlService::kDnsmasqResolvConf}), settings(both.substr(0, both.size() - 1)));

  // Whatever the bytes say.
  EXPECT_EQ(Settings{}, settings(""));
  EXPECT_EQ(Settings{}, settings(std::string(15, '\1')));
  EXPECT_EQ(Settings{}, settings(Record(1, IN_MODIFY, "", 1)));
  EXPECT_EQ(Settings{}, settings(Record(1, IN_MODIFY, "", 0xffffffff)));
  EXPECT_EQ(Settings{}, settings(Record(2, IN_MODIFY, "permanent-dns.con", 17)));
  EXPECT_EQ((Settings{DnsCtrlService::kDnsmasqResolvConf}), settings(Record(2, 0, "permanent-dns.conf", 18)));
  EXPECT_EQ(Settings{}, settings(Record(-1, IN_Q_OVERFLOW, "", 0)));
}

TEST_F(ServiceTest, LinksAreFollowedToTheWatchedFile) {
  const std::string watcher = "7 int kor::wwan::DnsCtrlService::AddFileWatcher(int, const char*, bool) #: ";
  // An absolute link, then one relative to its own folder.
  Shell(
      "mkdir /tmp/a && mv /etc/resolv.conf /tmp/a/real && ln -s real /tmp/a/link && ln -s /tmp/a/link "
      "/etc/resolv.conf");
  ASSERT_TRUE(service_.Start());
  std::string lines;
  for (const auto& line : log_.TakeWith("AddFileWatcher"))
    lines += line.substr(line.rfind(watcher, 0) == 0 ? watcher.size() : 0);
  EXPECT_EQ(
      "/etc/resolv.conf file is symbolic linked to /tmp/a/link\n/tmp/a/link file is symbolic linked to real\n"
      "final path /tmp/a/real\nAddFileWatcher # new path /data/permanent-dns.conf\n"
      "/data/permanent-dns.conf is removable file, so let's watch folder instead of file\ndir_name /data\n"
      "new path set as directory named /data /data\nfinal path /data\n",
      std::regex_replace(lines, std::regex("AddFileWatcher [0-9]+"), "AddFileWatcher #"));
  // The target changes under the link; then the link itself is replaced: the target is still the one watched.
  WriteFile("/tmp/a/real", "nameserver 1.2.3.4\n");
  EXPECT_TRUE(Eventually([] { return ReadFile("/tmp/a/real") == kRepaired; }));
  Shell("rm /etc/resolv.conf && echo '#new' > /etc/resolv.conf");
  EXPECT_TRUE(ChangesEndWith('1'));
  unlink("/tmp/a/real");  // Its end still repairs what stands at the path.
  EXPECT_TRUE(Eventually([] { return ReadFile(kResolvConf) == kRepaired; }));

  // A loop ends with an error and an incomplete start, which a stop undoes.
  ASSERT_TRUE(service_.Stop());
  (void)log_.Take();
  Shell("ln -sf /etc/loop /etc/resolv.conf && ln -s resolv.conf /etc/loop");
  EXPECT_FALSE(service_.Start());
  const Calls tries = log_.TakeWith("DnsCtrlService::");
  const auto links = [](const std::string& line) { return line.find("symbolic linked to ") != std::string::npos; };
  EXPECT_EQ(40, std::count_if(tries.begin(), tries.end(), links));
  EXPECT_EQ("3 bool kor::wwan::DnsCtrlService::Start() #: Cannot monitor file /etc/resolv.conf exit program\n",
            tries.back());
}

TEST_F(ServiceTest, AnIncompleteStartCountsAsStartedUntilStopped) {
  ASSERT_TRUE(service_.Start());                                 // The file monitor's thread and its descriptor stay.
  EXPECT_LT(0, service_.AddFileWatcher(-1, kResolvConf, true));  // The descriptor of the service is meant.
  ASSERT_TRUE(Eventually([] { return !ReadFile(kDnsmasqPidFile).empty(); }));
  ASSERT_TRUE(service_.Stop());
  const ProcessState rest = ProcessState::Now();
  Shell("mv /etc/resolv.conf /tmp/kept");
  EXPECT_FALSE(service_.Start());
  EXPECT_EQ(1u, log_.TakeWith("Cannot monitor file /etc/resolv.conf exit program\n").size());
  Shell("mv /tmp/kept /etc/resolv.conf");
  EXPECT_TRUE(service_.Start());  // Started, incomplete.
  EXPECT_EQ((Calls{"7 bool kor::wwan::DnsCtrlService::Start() #: DnsCtrlService already started\n"}), log_.Take());
  EXPECT_TRUE(service_.Stop());

  // The permanent file's folder cannot be watched: one watch is held, which a stop gives back too.
  Shell("ln -s /nowhere/permanent-dns.conf /data/permanent-dns.conf");
  EXPECT_FALSE(service_.Start());
  EXPECT_EQ(1u, log_.TakeWith("Cannot monitor file /data/permanent-dns.conf exit program\n").size());
  EXPECT_TRUE(service_.Stop());
  unlink(kPermanentFile);

  // Stop and start over and over: everything works, and nothing is left at the end.
  for (int i = 0; i < 5; ++i) {
    ASSERT_TRUE(service_.Start());
    WriteFile(kResolvConf, "nameserver 1.2.3.4\n");
    EXPECT_TRUE(Eventually([] { return ReadFile(kResolvConf) == kRepaired; }));
    EXPECT_TRUE(Eventually([] { return !ReadFile(kDnsmasqPidFile).empty(); }));
    {
      const NoMemory none;  // A stop needs none.
      EXPECT_TRUE(service_.Stop());
    }
    EXPECT_NE(0, access(kDnsmasqPidFile, F_OK));
  }
  EXPECT_TRUE(rest.Returns());
}

// A refresh that fails on the monitor's thread is reported there; the service lives on.
TEST_F(ServiceTest, AModemThatCannotBeReachedDuringARefresh) {
  SetServers(0, IPFamily::kIpv4, "8.8.8.8", "");
  Vendor::Set([](Answers& a) { a.reachable = false; });
  EXPECT_THROW(service_.Start(), std::runtime_error);
  EXPECT_TRUE(service_.Start());  // It runs: the next event refreshes.
  WriteFile(kPermanentFile, "no");
  EXPECT_TRUE(Eventually([&] { return !log_.TakeWith("no modem").empty(); }));
  Vendor::Set([](Answers& a) { a.reachable = true; });
  SetServers(0, IPFamily::kIpv4, "8.8.4.4", "");
  unlink(kPermanentFile);
  EXPECT_TRUE(Eventually([] { return ReadFile(kServerList) == "nameserver 8.8.4.4\n"; }));
}

TEST_F(CleanTest, ManagersShareOneServiceUntilTheLastGoes) {
  SyslogReader log;
  auto a = std::make_unique<DnsCtrlManager>();
  auto b = std::make_unique<DnsCtrlManager>();
  DnsCtrlService* service = DnsCtrlManager::s_dns_ctrl_service_;
  ASSERT_NE(nullptr, service);
  ASSERT_TRUE(a->StartService());

  std::string heard;
  const auto note = [&](char name) { return [&heard, name](kor::util::EventDic&) { heard += name; }; };
  const auto refresh = [&] {
    heard.clear();
    service->ChangeDnsSetting(DnsCtrlService::kDnsmasqResolvConf);
    return heard;
  };
  a->SetEventCb(note('x'));
  a->SetEventCb(note('a'));
  b->SetEventCb(note('b'));
  EXPECT_EQ(a.get() < b.get() ? "ab" : "ba", refresh());

  // The first goes, and hears nothing more; the service stays started for the other.
  a.reset();
  EXPECT_EQ("b", refresh());
  EXPECT_EQ(service, DnsCtrlManager::s_dns_ctrl_service_);
  EXPECT_TRUE(b->StartService());
  EXPECT_EQ(1u, log.TakeWith("already started").size());

  // Stopped by hand, then once more by the last one's end.
  EXPECT_TRUE(Eventually([] { return !ReadFile(kDnsmasqPidFile).empty(); }));
  EXPECT_TRUE(b->StopService());
  b.reset();
  EXPECT_EQ(1u, log.TakeWith("There is no dnsmasq pid file").size());
  EXPECT_EQ(nullptr, DnsCtrlManager::s_dns_ctrl_service_);
}

}  // namespace
}  // namespace kor::test
