// SPDX-License-Identifier: Apache-2.0
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <thread>

#include "dns/dns_fixture.h"

namespace kor::test {
namespace {

using namespace std::chrono_literals;

constexpr auto kIpv4 = IPFamily::kIpv4;
constexpr auto kIpv6 = IPFamily::kIpv6;

struct stat StatOf(const char* path) {
  struct stat st {};
  EXPECT_EQ(0, lstat(path, &st)) << path;
  return st;
}

TEST_F(DnsTest, ResolvConfIsRepairedInPlaceAndOnlyWhenItsTextIsAnother) {
  const ino_t inode = StatOf(kResolvConf).st_ino;
  for (const std::string& text :
       {std::string("nameserver 8.8.8.8\n"), std::string(), std::string(kRepaired) + "#more\n",
        std::string(kRepaired, 53), std::string(5000, 'x')}) {
    WriteFile(kResolvConf, text);
    service_.ChangeDnsSetting(DnsCtrlService::kResolvConf);
    EXPECT_EQ(kRepaired, ReadFile(kResolvConf)) << "after " << text;
  }
  EXPECT_EQ(inode, StatOf(kResolvConf).st_ino);

  // The right text, and a text that begins with a NUL, are left alone: neither is written.
  for (const std::string& text : {std::string(kRepaired), std::string("\0nameserver 8.8.8.8\n", 20)}) {
    WriteFile(kResolvConf, text);
    Shell("touch -d 2001-01-01 /etc/resolv.conf");
    const time_t written = StatOf(kResolvConf).st_mtime;
    service_.ChangeDnsSetting(DnsCtrlService::kResolvConf);
    EXPECT_EQ(text, ReadFile(kResolvConf));
    EXPECT_EQ(written, StatOf(kResolvConf).st_mtime);
  }
  EXPECT_EQ(0, TakeUpdates());  // None of this concerns the forwarder.
  EXPECT_EQ(
      "7 bool kor::wwan::DnsCtrlService::ChangeDnsSetting(kor::wwan::DnsCtrlService::DnsSettingType) #: "
      "setting_type 1\n",
      log_.Take().at(0));
}

TEST_F(DnsTest, ResolvConfThroughALinkAndMissing) {
  // A link stays, its target is repaired.
  Shell("mv /etc/resolv.conf /tmp/target && ln -s /tmp/target /etc/resolv.conf");
  service_.ChangeDnsSetting(DnsCtrlService::kResolvConf);
  EXPECT_TRUE(S_ISLNK(StatOf(kResolvConf).st_mode));
  EXPECT_EQ(kRepaired, ReadFile("/tmp/target"));

  // A missing file is reported and not made; the forwarder's list is written all the same.
  unlink(kResolvConf);
  (void)log_.Take();
  service_.ChangeDnsSetting(DnsCtrlService::kResolvConf);
  EXPECT_EQ((Calls{"3 bool kor::wwan::DnsCtrlService::SetResolvConf() #: Cannot find [/etc/resolv.conf] file on the "
                   "system\n"}),
            log_.TakeWith("Cannot"));
  EXPECT_NE(0, access(kResolvConf, F_OK));
  EXPECT_EQ("", After(DnsCtrlService::kDnsmasqResolvConf));
  EXPECT_EQ(1, TakeUpdates());
}

TEST_F(DnsTest, ServersComeOutSortedOnceEachAndTheAbsentOnesDropped) {
  SetServers(0, kIpv4, "8.8.8.8", "10.0.0.1");
  SetServers(0, kIpv6, "2001:db8::1", "");
  SetServers(1, kIpv4, "8.8.8.8", "0.0.0.0");
  SetServers(1, kIpv6, "::", "0.0.0.0");
  EXPECT_EQ("nameserver 10.0.0.1\nnameserver 2001:db8::1\nnameserver 8.8.8.8\nnameserver ::\n",
            After(DnsCtrlService::kDnsmasqResolvConf));
  EXPECT_EQ(1, TakeUpdates());
  const std::string signature = "7 bool kor::wwan::DnsCtrlService::SetDnsmasqResolvConf(bool) #: ";
  EXPECT_EQ((Calls{signature + "\n", signature + "policy_v size 2\n", signature + "dns_l size 4\n"}),
            log_.TakeWith("SetDnsmasqResolvConf"));
  EXPECT_EQ((Calls{"GetWwanPolicies", "GetNetworkConfig 0 1", "GetNetworkConfig 0 2", "GetNetworkConfig 1 1",
                   "GetNetworkConfig 1 2"}),
            Vendor::Take());

  // An answer about the other family contributes nothing, and what it left is not taken for the next one's.
  Vendor::Set([](Answers& a) {
    a.configs[{1, kIpv4}] = {kIpv6, "", "192.0.2.1", ""};
    a.configs[{1, kIpv6}] = {kIpv6, "", "", ""};
  });
  EXPECT_EQ("nameserver 10.0.0.1\nnameserver 2001:db8::1\nnameserver 8.8.8.8\n",
            After(DnsCtrlService::kDnsmasqResolvConf));

  // No call up: an empty list, and still word of it. The same again is written again, on the same inode.
  Vendor::Set([](Answers& a) { a.configs.clear(); });
  const ino_t inode = StatOf(kServerList).st_ino;
  EXPECT_EQ("", After(DnsCtrlService::kDnsmasqResolvConf));
  EXPECT_EQ("", After(DnsCtrlService::kDnsmasqResolvConf));
  EXPECT_EQ(inode, StatOf(kServerList).st_ino);
  EXPECT_EQ(3, TakeUpdates());

  // An unknown setting does nothing, and says so.
  EXPECT_TRUE(service_.ChangeDnsSetting(static_cast<DnsCtrlService::DnsSettingType>(9)));
  EXPECT_EQ(0, TakeUpdates());
}

TEST_F(DnsTest, ThePermanentFileReplacesTheCallsServers) {
  SetServers(0, kIpv4, "8.8.8.8", "");
  WriteFile(kPermanentFile, "nameserver 9.9.9.9\n");
  EXPECT_EQ("nameserver 9.9.9.9\n", After(DnsCtrlService::kDnsmasqResolvConf));
  EXPECT_EQ(Calls{}, Vendor::Take());  // No call was asked.
  EXPECT_EQ("7 bool kor::wwan::DnsCtrlService::SetDnsmasqResolvConf(bool) #: nameserver 9.9.9.9\n\n",
            log_.Take().at(1));

  // Byte for byte, whatever it holds, up to a NUL; four characters or fewer are no text.
  WriteFile(kPermanentFile, std::string("rubbish\0nameserver 1.1.1.1\n", 27));
  EXPECT_EQ("rubbish", After(DnsCtrlService::kDnsmasqResolvConf));
  WriteFile(kPermanentFile, "abcde");
  EXPECT_EQ("abcde", After(DnsCtrlService::kDnsmasqResolvConf));
  for (const std::string& text : {std::string("abcd"), std::string(), std::string("abc\0efgh", 8)}) {
    WriteFile(kPermanentFile, text);
    EXPECT_EQ("nameserver 8.8.8.8\n", After(DnsCtrlService::kDnsmasqResolvConf)) << text;
  }
  // A folder in its place is no text either.
  Shell("rm /data/permanent-dns.conf && mkdir /data/permanent-dns.conf");
  EXPECT_EQ("nameserver 8.8.8.8\n", After(DnsCtrlService::kDnsmasqResolvConf));
}

TEST_F(DnsTest, ACallThatIsNotReadyIsWaitedFor) {
  SetServers(0, kIpv4, "8.8.8.8", "");
  SetServers(0, kIpv6, "2001:db8::1", "");

  // Ready the second time: half a second later the list is whole.
  Vendor::Set([](Answers& a) { a.not_ready = 1; });
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ("nameserver 2001:db8::1\nnameserver 8.8.8.8\n", After(DnsCtrlService::kAll));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 500ms);
  EXPECT_EQ(
      (Calls{"6 bool kor::wwan::DnsCtrlService::SetDnsmasqResolvConf(bool) #: Not ready yet remove current set and "
             "starts from begining\n"}),
      log_.TakeWith("Not ready"));

  // One pass without retry, five with; then the list is written empty: half of one is none.
  Vendor::Set([](Answers& a) { a.refused = {"GetNetworkConfig 0 2"}; });
  EXPECT_EQ("", After(DnsCtrlService::kDnsmasqResolvConf));
  EXPECT_EQ(1u, log_.TakeWith("Not ready").size());
  start = std::chrono::steady_clock::now();
  std::thread refresh([&] { EXPECT_EQ("", After(DnsCtrlService::kAll)); });
  // The wait lets other changes through.
  WriteFile(kResolvConf, "#\n");
  EXPECT_TRUE(Eventually([&] { return log_.TakeWith("Not ready").size() == 1; }));
  service_.ChangeDnsSetting(DnsCtrlService::kResolvConf);
  EXPECT_LT(std::chrono::steady_clock::now() - start, 2500ms);
  EXPECT_EQ(kRepaired, ReadFile(kResolvConf));
  refresh.join();
  EXPECT_GE(std::chrono::steady_clock::now() - start, 2500ms);
  EXPECT_EQ(4u, log_.TakeWith("Not ready").size());
  EXPECT_EQ(3, TakeUpdates());
}

TEST_F(DnsTest, EverybodyMayWriteWhereTheMaskAllowsIt) {
  setenv("PATH", "/nonexistent", 1);  // No dnsmasq.
  umask(0);
  service_.ChangeDnsSetting(DnsCtrlService::kDnsmasqResolvConf);
  EXPECT_EQ(0777u, StatOf(kServerList).st_mode & 07777);
  EXPECT_EQ(0777u, StatOf(kRunDir).st_mode & 07777);
  std::filesystem::remove_all(kRunDir);
  EXPECT_FALSE(std::mem_fn(&DnsCtrlService::StartDnsmasq)(service_));
  EXPECT_EQ(0777u, StatOf(kRunDir).st_mode & 07777);
}

TEST_F(DnsTest, AResolverFileThatCannotBeWritten) {
  // A pipe in its place, without a reader, holds nobody up; nor does one in the pid file's or the permanent file's.
  Shell(
      "mkdir -p /var/run/netctld-dnsmasq && mkfifo /var/run/netctld-dnsmasq/dnsmasq_resolv.conf "
      "/var/run/netctld-dnsmasq/dnsmasq.pid /data/permanent-dns.conf");
  const std::string path = getenv("PATH");
  setenv("PATH", "/nonexistent", 1);  // No dnsmasq, which would wait for the pipe's writer.
  service_.ChangeDnsSetting(DnsCtrlService::kAll);
  EXPECT_EQ(1u, log_.TakeWith("Cannot open").size());
  EXPECT_FALSE(service_.Stop());
  setenv("PATH", path.c_str(), 1);
  Shell("rm -r /var/run/netctld-dnsmasq /data/permanent-dns.conf");
  (void)log_.Take();
  (void)TakeUpdates();

  // Not openable: an error, and nobody is told.
  WriteFile(kRunDir, "a file where the folder should be");
  service_.ChangeDnsSetting(DnsCtrlService::kDnsmasqResolvConf);
  EXPECT_EQ((Calls{"3 bool kor::wwan::DnsCtrlService::SetDnsmasqResolvConf(bool) #: Cannot open "
                   "/var/run/netctld-dnsmasq/dnsmasq_resolv.conf for writing\n"}),
            log_.TakeWith("Cannot"));
  EXPECT_EQ(0, TakeUpdates());
}

}  // namespace
}  // namespace kor::test
