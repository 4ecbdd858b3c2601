// SPDX-License-Identifier: Apache-2.0
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <functional>

#include "dns/dns_fixture.h"
#include "dns/opens.h"
#include "support/ask_forwarder.h"
#include "support/no_memory.h"

namespace kor::test {
namespace {

using namespace std::chrono_literals;

class DnsmasqTest : public DnsTest {
 protected:
  // Whether a real dnsmasq answers on 127.0.0.1 (a refusal is an answer).
  static bool Answers() {
    return !AskForwarder(std::string("\x12\x34\x01\0\0\x01\0\0\0\0\0\0\x04test\0\0\x01\0\x01", 22)).empty();
  }

  // The command lines that dnsmasq was started with since the last call.
  Calls TakeStarts() { return log_.TakeWith("cmd dnsmasq"); }

  static void WritePidFile(const std::string& text) {
    mkdir(kRunDir, 0777);
    WriteFile(kDnsmasqPidFile, text);
  }
};

TEST_F(DnsmasqTest, IsStartedWhenNoneIsAliveAndKilledByItsPidFile) {
  service_.ChangeDnsSetting(DnsCtrlService::kAll);
  EXPECT_EQ((Calls{"6 bool kor::wwan::DnsCtrlService::StartDnsmasq() #: cmd dnsmasq -r "
                   "/var/run/netctld-dnsmasq/dnsmasq_resolv.conf --pid-file=/var/run/netctld-dnsmasq/dnsmasq.pid "
                   "--listen-address 127.0.0.1 --bind-dynamic --leasefile-ro\n"}),
            TakeStarts());
  ASSERT_TRUE(Eventually([] { return !ReadFile(kDnsmasqPidFile).empty(); }));
  const int pid = std::stoi(ReadFile(kDnsmasqPidFile));
  EXPECT_TRUE(Eventually(Answers));

  // Alive: not started again. Dead: the next change starts another.
  service_.ChangeDnsSetting(DnsCtrlService::kAll);
  EXPECT_EQ(Calls{}, TakeStarts());
  kill(pid, SIGKILL);
  ASSERT_TRUE(Eventually([&] { return access(("/proc/" + std::to_string(pid)).c_str(), F_OK) != 0; }));
  service_.ChangeDnsSetting(DnsCtrlService::kAll);
  EXPECT_EQ(1u, TakeStarts().size());
  EXPECT_TRUE(Eventually([&] { return ReadFile(kDnsmasqPidFile) != std::to_string(pid) + "\n" && Answers(); }));

  // Another service finds and kills it, as after a restart of the host; then there is none to kill.
  const std::string second = std::to_string(std::stoi(ReadFile(kDnsmasqPidFile)));
  const std::string stop = " bool kor::wwan::DnsCtrlService::Stop() #: ";
  DnsCtrlService other;
  EXPECT_TRUE(other.Stop());
  EXPECT_EQ((Calls{"7" + stop + "Try to kill dnsmasq with cmd [kill -9 " + second +
                       "] and remove file /var/run/netctld-dnsmasq/dnsmasq.pid\n",
                   "7" + stop + "after kill dnsmasq with cmd [kill -9 " + second +
                       "] and remove file /var/run/netctld-dnsmasq/dnsmasq.pid\n"}),
            log_.TakeWith("Stop()"));
  EXPECT_FALSE(Answers());
  EXPECT_TRUE(other.Stop());
  EXPECT_EQ((Calls{"3" + stop + "There is no dnsmasq pid file on /var/run/netctld-dnsmasq/dnsmasq.pid\n"}),
            log_.TakeWith("Stop()"));
  EXPECT_TRUE(std::mem_fn(&DnsCtrlService::StartDnsmasq)(other));
}

TEST_F(DnsmasqTest, APidFileOfAnyContent) {
  setenv("PATH", "/nonexistent", 1);  // dnsmasq is not installed: a start fails and the rest of the change is done.
  struct {
    const char* text;
    const char* error;
  } const cases[] = {
      {"", "Cannot read data from /var/run/netctld-dnsmasq/dnsmasq.pid\n"},
      {"0\n", "dnsmasq pid has wrong value 0\n\n"},
      {"-5", "dnsmasq pid has wrong value -5\n"},
      {"abc 12\nmore", "dnsmasq pid has wrong value abc 12\n\n"},
  };
  for (const auto& c : cases) {
    WritePidFile(c.text);
    service_.ChangeDnsSetting(DnsCtrlService::kAll);
    EXPECT_EQ(1u, TakeStarts().size()) << c.text;  // Not alive.
    EXPECT_FALSE(service_.Stop()) << c.text;
    EXPECT_EQ((Calls{std::string("3 bool kor::wwan::DnsCtrlService::Stop() #: ") + c.error}), log_.TakeWith("Stop()"));
    EXPECT_EQ(c.text, ReadFile(kDnsmasqPidFile));
  }
  EXPECT_EQ(4, TakeUpdates());
  EXPECT_EQ(kRepaired, ReadFile(kResolvConf));

  // A number too long for a short string, and no memory left: killed as any other.
  WritePidFile("70707070707070\n");
  {
    const NoMemory none;
    EXPECT_TRUE(service_.Stop());
  }
  const std::string pid = std::to_string(strtol("70707070707070", nullptr, 10));  // LONG_MAX where long has 32 bits.
  EXPECT_EQ(1u, log_.TakeWith("after kill dnsmasq with cmd [kill -9 " + pid + "] and").size());

  // A live process is believed to be dnsmasq, whatever it is, and killed as such.
  const pid_t child = fork();
  if (child == 0) {
    pause();
    _exit(0);
  }
  WritePidFile(" " + std::to_string(child) + " and more\n");
  service_.ChangeDnsSetting(DnsCtrlService::kAll);
  EXPECT_EQ(Calls{}, TakeStarts());
  EXPECT_TRUE(service_.Stop());
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
  EXPECT_NE(0, access(kDnsmasqPidFile, F_OK));
}

TEST_F(DnsmasqTest, AKilledProcessIsWaitedForByTheClock) {
  (void)Opens::TakeLooksAtProcesses();
  // One that has ended already, and that nobody has looked after, has no sockets: the first look says so.
  pid_t child = fork();
  if (child == 0) _exit(0);
  siginfo_t ended{};
  ASSERT_EQ(0, waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT));
  WritePidFile(std::to_string(child));
  EXPECT_TRUE(service_.Stop());
  EXPECT_EQ(1, Opens::TakeLooksAtProcesses());
  waitpid(child, nullptr, 0);

  child = fork();
  if (child == 0) {
    pause();
    _exit(0);
  }
  // A kill that fails: nobody waits.
  WritePidFile(std::to_string(child));
  ASSERT_EQ(0, mount("/usr/bin/false", "/bin/sh", nullptr, MS_BIND, nullptr));
  EXPECT_TRUE(service_.Stop());
  EXPECT_EQ(0, Opens::TakeLooksAtProcesses());
  EXPECT_NE(0, access(kDnsmasqPidFile, F_OK));
  EXPECT_EQ(0, umount2("/bin/sh", 0));

  // One that does not go: for a second, however long the looks take on a busy machine.
  WritePidFile(std::to_string(child));
  ASSERT_EQ(0, mount("/usr/bin/true", "/bin/sh", nullptr, MS_BIND, nullptr));
  Opens::Delay(20ms);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(service_.Stop());
  const auto took = std::chrono::steady_clock::now() - start;
  EXPECT_GE(took, 1s);
  EXPECT_LT(took, 3s);
  EXPECT_EQ(0, umount2("/bin/sh", 0));
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
}

}  // namespace
}  // namespace kor::test
