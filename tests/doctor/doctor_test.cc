// SPDX-License-Identifier: Apache-2.0
// "kwwanctl doctor" over a real host, a real dnsmasq and the sandbox's own files: each fault is made, and found, and
// nothing else is.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <set>
#include <string>

#include "doctor/programs.h"
#include "support/dns_files.h"
#include "support/files.h"
#include "support/wait.h"

namespace kor::test {

namespace {

using Names = std::set<std::string>;

constexpr char kList[] = "nameserver 10.255.0.53\n";

class DoctorTest : public testing::Test {
 protected:
  // A network with a name server that knows one name, and a call to it.
  void SetUp() override {
    Shell("ip address add 10.255.0.53/32 dev lo");
    Shell(
        "dnsmasq --conf-file=/dev/null --no-resolv --no-hosts --pid-file=/run/upstream.pid "
        "--listen-address=10.255.0.53 --bind-interfaces --local=/example/ "
        "--host-record=portal.carrier.example,10.255.0.80");
    StartHost();
    ConnectAndSettle();
  }

  static void ConnectAndSettle() {
    ASSERT_EQ("connected", Json::parse(Ctl("call up 0 -4")).value("state", ""));
    ASSERT_TRUE(Eventually([] { return Examine().empty(); })) << report_;
  }

  // The names of the problems that the doctor finds.
  static Names Examine() {
    report_ = Ctl("doctor --name portal.carrier.example");
    const Json result = Json::parse(report_);
    Names problems;
    for (const Json& finding : result.at("findings")) {
      const bool problem = finding.at("verdict") == "problem";
      if (problem) problems.insert(finding.at("name").get<std::string>());
      // A problem always comes with its reason and a remedy.
      EXPECT_TRUE(!problem || (finding.at("why") != "" && finding.at("do") != "")) << finding;
    }
    EXPECT_EQ(result.at("problems"), problems.size());
    return problems;
  }

  static bool Says(const std::string& text) { return report_.find(text) != std::string::npos; }

  static std::string report_;
};

std::string DoctorTest::report_;

TEST_F(DoctorTest, CallsAndHost) {
  // No call: nobody to ask, and dnsmasq says so.
  Ctl("call down 0 -4");
  ASSERT_TRUE(Eventually([] { return ReadFile(kServerList).empty(); }));
  EXPECT_EQ((Names{"calls", "query"}), Examine()) << report_;
  ConnectAndSettle();

  // A name that is not there is an answer too.
  EXPECT_TRUE(Json::parse(Ctl("doctor --name nothing.portal.carrier.example")).at("problems") == 0);

  // The service is stopped, and its dnsmasq with it.
  Ctl("dns stop");
  EXPECT_EQ((Names{"dns-service", "pid-file", "port-53", "query"}), Examine()) << report_;
  Ctl("dns start");
  ASSERT_TRUE(Eventually([] { return Examine().empty(); })) << report_;

  // The host dies. What it left works on; nobody looks after it.
  Shell("kill -9 $(cat /run/kwwand.pid)");
  ASSERT_TRUE(Eventually([] { return Ctl("version").find("\"error\"") != std::string::npos; }));
  EXPECT_EQ(Names{"host"}, Examine()) << report_;
}

TEST_F(DoctorTest, PidFileThatNamesAnother) {
  const std::string good = ReadFile(kDnsmasqPidFile);
  Shell("sleep 1000 & echo $! > /run/sleep.pid");
  Shell("dnsmasq --conf-file=/dev/null --port=0 --pid-file=/run/another.pid");
  for (const std::string& text : {std::string("1\n"), std::string("soon\n"), std::string(), std::string("-5\n"),
                                  std::string("4194304\n"), ReadFile("/run/sleep.pid"), ReadFile("/run/another.pid")}) {
    WriteFile(kDnsmasqPidFile, text);
    EXPECT_EQ(Names{"pid-file"}, Examine()) << text << report_;
    EXPECT_TRUE(Says("ours runs as " + std::to_string(atoi(good.c_str())))) << report_;
  }
  unlink(kDnsmasqPidFile);
  EXPECT_EQ(Names{"pid-file"}, Examine()) << report_;
  WriteFile(kDnsmasqPidFile, good);
  EXPECT_EQ(Names{}, Examine()) << report_;
}

TEST_F(DoctorTest, AnotherProgramHasThePort) {
  Shell("kill -9 $(cat /var/run/netctld-dnsmasq/dnsmasq.pid)");
  const int fd = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(53);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_TRUE(Eventually([&] { return bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0; }));
  EXPECT_EQ((Names{"pid-file", "port-53", "query"}), Examine()) << report_;
  EXPECT_TRUE(Says("doctor_test (" + std::to_string(getpid()) + ") listens on 127.0.0.1 (udp)")) << report_;
  close(fd);
}

TEST_F(DoctorTest, ResolvConfReplaced) {
  // Replaced by a new file: repaired once, and not watched any more.
  WriteFile("/etc/new", "nameserver 192.0.2.7\n");
  ASSERT_EQ(0, rename("/etc/new", kResolvConf));
  ASSERT_TRUE(Eventually([] { return ReadFile(kResolvConf) == kRepaired; }));
  EXPECT_EQ(Names{"resolv-conf-watch"}, Examine()) << report_;

  // So the next foreign text stays.
  WriteFile(kResolvConf, "nameserver 192.0.2.7\n");
  EXPECT_EQ((Names{"resolv-conf", "resolv-conf-watch"}), Examine()) << report_;

  // A manager sets its link. As long as it leaves our text alone it is only told of.
  Shell("cp /usr/bin/sleep /tmp/NetworkManager; /tmp/NetworkManager 1000 &");
  WriteFile(kResolvConf, kRepaired);
  ASSERT_TRUE(Eventually([] { return Examine() == Names{"resolv-conf-watch"} && Says("NetworkManager ("); }));
  Shell(
      "mkdir /run/NetworkManager; echo '# Generated by NetworkManager' > /run/NetworkManager/resolv.conf; "
      "ln -sf /run/NetworkManager/resolv.conf /etc/resolv.conf");
  EXPECT_EQ((Names{"other-manager", "resolv-conf", "resolv-conf-watch"}), Examine()) << report_;

  unlink(kResolvConf);
  EXPECT_EQ(Names{"resolv-conf"}, Examine()) << report_;
}

TEST_F(DoctorTest, ServersThatAreNotTheCalls) {
  // A server that no call has, beside one that has.
  WriteFile(kServerList, std::string(kList) + "nameserver 192.0.2.8\n");
  EXPECT_EQ(Names{"server-list"}, Examine()) << report_;
  WriteFile(kServerList, "");
  EXPECT_EQ((Names{"query", "server-list"}), Examine()) << report_;
  WriteFile(kServerList, kList);
  EXPECT_EQ(Names{}, Examine()) << report_;

  // A permanent file is an operator's right, as long as its servers answer.
  WriteFile(kPermanentFile, "nameserver 192.0.2.9\n");
  ASSERT_TRUE(Eventually([] { return ReadFile(kServerList) == ReadFile(kPermanentFile); }));
  EXPECT_EQ((Names{"permanent-file", "query", "servers"}), Examine()) << report_;
  WriteFile(kPermanentFile, kList);
  ASSERT_TRUE(Eventually([] { return Examine().empty(); })) << report_;
  EXPECT_TRUE(Says("is used instead of the calls' servers")) << report_;

  // A link to a file of another name, whose own changes are not looked at.
  WriteFile("/data/other", kList);
  Shell("ln -sf /data/other /data/permanent-dns.conf");
  ASSERT_TRUE(Eventually([] { return ReadFile(kServerList) == kList && Examine().empty(); })) << report_;
  WriteFile("/data/other", std::string("# changed\n") + kList);
  EXPECT_EQ(Names{"server-list"}, Examine()) << report_;
}

TEST_F(DoctorTest, HostInAPidNamespaceOfItsOwn) {
  const pid_t first = atoi(ReadFile("/run/kwwand.pid").c_str());
  ASSERT_EQ(0, kill(first, SIGTERM));
  ASSERT_TRUE(Eventually([=] { return kill(first, 0) != 0; }));
  Shell("unshare --pid --fork " KWWAND " &");
  AwaitHost();
  Ctl("call up 0 -4");
  ASSERT_TRUE(Eventually([] { return Examine() == Names{"namespaces"}; })) << report_;
}

}  // namespace

}  // namespace kor::test
