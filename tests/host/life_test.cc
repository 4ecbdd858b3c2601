// SPDX-License-Identifier: Apache-2.0
// From the command line to the end: readiness, one host at a path, signals, what is left behind.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <filesystem>
#include <future>

#include "host/client.h"
#include "host/host_process.h"
#include "support/dns_files.h"
#include "support/files.h"
#include "support/sanitizers.h"
#include "support/wait.h"

namespace kor::test {
namespace {

using namespace std::chrono_literals;

constexpr char kPidFile[] = "/run/kwwand.pid";

bool Holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

bool IsThere(const std::string& path) { return std::filesystem::exists(std::filesystem::symlink_status(path)); }

std::string ProcessOf(const std::string& pid_file) {
  const std::string pid = ReadFile(pid_file);
  return pid.empty() ? "" : "/proc/" + pid.substr(0, pid.find('\n'));
}

// A folder on a disk of its own, of so many pages, which are all taken until Free().
class FullDisk {
 public:
  FullDisk(const std::string& path, int pages) : filler_(path + "/filler") {
    std::filesystem::create_directories(path);
    const std::string size = "size=" + std::to_string(pages * getpagesize());
    EXPECT_EQ(0, mount("tmpfs", path.c_str(), "tmpfs", 0, size.c_str()));
    const kor::tools::Fd fd(open(filler_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    while (write(fd.get(), "x", 1) == 1) {
    }
  }
  void Free() const { std::filesystem::remove(filler_); }

 private:
  const std::string filler_;
};

mode_t ModeOf(const std::string& path) {
  struct stat file {};
  return stat(path.c_str(), &file) == 0 ? file.st_mode & 07777 : 0;
}

// A host that cannot start, and what it says of it.
struct Refusal {
  Words words;
  std::string told;
};

void ExpectRefusal(const Refusal& refusal, int status) {
  const Outcome ending = RunKwwand(refusal.words);
  EXPECT_EQ(status, ending.status);
  EXPECT_TRUE(Holds(ending.err, refusal.told)) << ending.err;
}

// It ends as it is told to, and leaves nothing behind.
Outcome ExpectAnOrderlyEnd(HostProcess& host, int signal_number = SIGTERM) {
  host.Signal(signal_number);
  Outcome ending = host.AwaitEnd();
  EXPECT_EQ(0, ending.status) << ending.err;
  for (const auto& left : {std::string(kSocket), std::string(kSocket) + ".lock", std::string(kPidFile),
                           std::string(kDnsmasqPidFile), std::string(kRunDir) + "/kwwand.lock"}) {
    EXPECT_FALSE(IsThere(left)) << left;
  }
  return ending;
}

bool ComesTo(Client& client, const std::string& state) {
  return Eventually([&] { return client.Ask("call.show", {{"index", 0}})["calls"]["ipv4"]["state"] == state; });
}

// A program in dnsmasq's place; with an empty text, none.
void PutDnsmasq(const std::string& script, const std::string& path) {
  std::filesystem::create_directory("/tmp/bin");
  setenv("PATH", path.c_str(), 1);
  if (!script.empty()) WriteFile("/tmp/bin/dnsmasq", "#!/bin/sh\n" + script + "\n");
  chmod("/tmp/bin/dnsmasq", 0755);
}

TEST(LifeTest, AWrongCommandLineIsToldByOptionAndWhatItTakes) {
  const Refusal cases[] = {
      {{"--sokcet", "x"}, "--sokcet: unknown option; did you mean --socket?"},
      {{"--mode", "888"}, "--mode: takes an octal mode from 0000 to 0777, such as 0660, not \"888\""},
      {{"--group", "no-such"}, "--group: takes the name of a group of this machine, not \"no-such\""},
      {{"--scenario", "/none"}, "--scenario: takes a file that can be read, not \"/none\""},
      {{"--backoff-ms", "5", "4"}, "--backoff-ms"},
      {{"--daemon", "--stderr"}, "--stderr"},
      {{"word"}, "word: unknown option"},
  };
  for (const auto& c : cases) ExpectRefusal(c, 2);
  EXPECT_FALSE(IsThere(kSocket));
}

TEST(LifeTest, AHostThatCannotStartSaysWhyAndLeavesNothing) {
  WriteFile("/tmp/wrong", "connect-delay 5\nexplode\n");
  WriteFile("/tmp/file", "mine");
  std::filesystem::create_symlink("/tmp/file", "/tmp/link");
  std::filesystem::create_hard_link("/tmp/file", "/tmp/twice");
  ASSERT_EQ(0, mkfifo("/tmp/pipe", 0600));
  std::filesystem::create_directory("/tmp/open");
  ASSERT_EQ(0, chmod("/tmp/open", 0777));
  // Somebody else's socket, which has one client waiting and takes no more.
  const kor::tools::Fd busy(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const kor::tools::Fd waits(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const sockaddr_un address{AF_UNIX, "/tmp/busy"};
  const auto* where = reinterpret_cast<const sockaddr*>(&address);
  ASSERT_TRUE(bind(busy.get(), where, sizeof(address)) == 0 && listen(busy.get(), 0) == 0);
  ASSERT_EQ(0, connect(waits.get(), where, sizeof(address)));
  const Refusal cases[] = {
      {{"--scenario", "/tmp/wrong"}, "/tmp/wrong:2: "},
      {{"--pid-file", "/none/pid"}, "/none/pid: No such file"},
      {{"--pid-file", "/tmp/link"}, "/tmp/link is a symbolic link; it is not followed"},
      {{"--pid-file", "/tmp/twice"}, "/tmp/twice exists and is not this user's alone"},
      {{"--pid-file", "/tmp/pipe"}, "/tmp/pipe exists and is not a regular file"},
      {{"--socket", "/tmp/open/sock"}, "/tmp/open can be written by others"},
      {{"--socket", "/tmp/busy"}, "another program serves /tmp/busy"},
      {{"--socket", "/tmp/file"}, "/tmp/file exists and is not a socket"},
      {{"--socket", "/tmp/" + std::string(120, 'x')}, "at most 107 bytes"},
  };
  for (const auto& c : cases) {
    ExpectRefusal(c, 1);
    Refusal of_daemon = c;  // The one who waits for a daemon hears the same.
    of_daemon.words.emplace_back("--daemon");
    ExpectRefusal(of_daemon, 1);
  }
  EXPECT_EQ("mine", ReadFile("/tmp/file"));
  EXPECT_FALSE(IsThere(kSocket) || IsThere(std::string(kSocket) + ".lock") || IsThere("/tmp/file.lock"));
  EXPECT_EQ("", ProcessOf(kDnsmasqPidFile));

  // The forwarder's folder and lock: where others could put or hold something, nobody can any more.
  const std::string lock = std::string(kRunDir) + "/kwwand.lock";
  WriteFile(lock, "");
  ASSERT_TRUE(chmod(kRunDir, 0777) == 0 && chmod(lock.c_str(), 0666) == 0);
  const HostProcess host;
  EXPECT_TRUE(host.ready());
  EXPECT_EQ(0755u, ModeOf(kRunDir));
  EXPECT_EQ(0600u, ModeOf(lock));
}

TEST(LifeTest, ADaemonCanBeReachedWhenItsStarterReturns) {
  int inherited[2];
  ASSERT_EQ(0, pipe(inherited));
  umask(0);
  ASSERT_EQ(0, RunKwwand({"--daemon", "--pid-file", kPidFile, "--mode", "0600", "--group", "root"}).status);
  const std::string process = ProcessOf(kPidFile);
  Client client;
  EXPECT_EQ(process, "/proc/" + client.Ask("host.version")["pid"].dump());
  struct stat socket {};
  ASSERT_EQ(0, stat(kSocket, &socket));
  EXPECT_EQ(S_IFSOCK | 0600u, socket.st_mode);
  // No terminal, and nobody's folder.
  EXPECT_EQ("/dev/null", std::filesystem::read_symlink(process + "/fd/2"));
  EXPECT_EQ("/", std::filesystem::read_symlink(process + "/cwd"));
  // Nothing else of the starter's: nobody waits for the end of his pipe, and nobody may write what the host makes.
  close(inherited[1]);
  pollfd ended{inherited[0], POLLIN, 0};
  EXPECT_EQ(1, poll(&ended, 1, std::chrono::milliseconds(kLongEnough).count()));
  EXPECT_EQ(0755u, ModeOf(kRunDir));
  EXPECT_EQ(0755u, ModeOf(kServerList));
  EXPECT_EQ(0644u, ModeOf(kPidFile));

  kill(std::stoi(process.substr(6)), SIGTERM);
  EXPECT_TRUE(Eventually([&] { return !IsThere(process); }));
  EXPECT_FALSE(IsThere(kPidFile) || IsThere(kSocket));
}

TEST(LifeTest, OneHostAtAPathAndADeadOnesPlaceIsTakenOver) {
  HostProcess first;
  ASSERT_TRUE(first.ready());
  const std::string another = "another kwwand (process " + std::to_string(first.pid()) + ") ";
  ExpectRefusal({{}, another + "serves " + kSocket}, 1);
  ExpectRefusal({{"--daemon"}, another + "serves " + kSocket}, 1);
  // With a socket of its own it would still be the same dnsmasq.
  ExpectRefusal({{"--socket", "/run/other.sock"}, another + "runs this machine's DNS"}, 1);
  EXPECT_EQ(first.pid(), Client().Ask("host.version")["pid"]);
  EXPECT_NE(nullptr, Client().Ask("dns.show")["forwarder_pid"]);
  EXPECT_EQ(0600u, ModeOf(std::string(kSocket) + ".lock"));

  // Killed hard it leaves socket and lock; nobody answers there.
  first.Signal(SIGKILL);
  EXPECT_EQ(-SIGKILL, first.AwaitEnd().status);
  EXPECT_TRUE(IsThere(kSocket));
  // Of several that start at once one takes the place, and what it leaves at the end is nothing.
  std::vector<std::future<Outcome>> starts;
  for (int i = 0; i < 5; ++i) starts.push_back(std::async(std::launch::async, RunKwwand, Words{"--daemon"}));
  int started = 0;
  for (auto& start : starts) started += start.get().status == 0 ? 1 : 0;
  EXPECT_EQ(1, started);
  const Json version = Client().Ask("host.version");
  ASSERT_TRUE(version.contains("pid")) << version;
  kill(version["pid"], SIGTERM);
  EXPECT_TRUE(Eventually([] { return !IsThere(std::string(kSocket) + ".lock"); }));
  EXPECT_FALSE(IsThere(kSocket));
}

TEST(LifeTest, ALanChangeThatAKilledHostLeftUnconfirmedIsTakenBackByTheNext) {
  const std::string journal = std::string(kSocket) + ".lan";
  {
    HostProcess host;
    Client client;
    ASSERT_EQ(0, client.CodeOf("lan.set", {{"gateway", "192.168.5.1"}, {"move_pool", true}}));
    ASSERT_EQ(0, client.CodeOf("lan.set", {{"gateway", "192.168.9.1"}, {"move_pool", true}, {"confirm_s", 600}}));
    host.Signal(SIGKILL);
    EXPECT_EQ(-SIGKILL, host.AwaitEnd().status);
  }
  {
    HostProcess next;
    ASSERT_TRUE(next.ready()) << next.AwaitEnd().err;
    Client client;
    EXPECT_EQ("192.168.5.1", client.Ask("lan.show")["gateway"]);
    EXPECT_EQ(10, client.CodeOf("lan.confirm"));
    EXPECT_FALSE(IsThere(journal));
  }

  // What is no LAN takes nothing back, and is gone with the next change.
  WriteFile(journal, R"({"gateway":"x","netmask":"255.255.255.0","dhcp":false,"start":"","end":"","lease_s":0})");
  HostProcess last;
  ASSERT_TRUE(last.ready());
  EXPECT_EQ(10, Client().CodeOf("lan.confirm"));
  EXPECT_EQ(0, Client().CodeOf("lan.set", {{"gateway", "192.168.6.1"}, {"move_pool", true}}));
  EXPECT_FALSE(IsThere(journal));
}

TEST(LifeTest, OnAFullDiskWhatCannotBeKeptIsNotDoneAndTheRestIs) {
  const FullDisk own("/run/kwwand", 1);
  ExpectRefusal({{"--pid-file", "/run/kwwand/pid"}, "/run/kwwand/pid: No space left on device"}, 1);
  EXPECT_FALSE(IsThere("/run/kwwand/pid") || IsThere(std::string(kSocket) + ".lock"));

  const FullDisk forwarders(kRunDir, 2);
  HostProcess host;
  ASSERT_TRUE(host.ready());
  Client client;
  const Json before = client.Ask("lan.show");
  EXPECT_EQ(1, client.CodeOf("lan.set", {{"gateway", "192.168.9.1"}, {"move_pool", true}, {"confirm_s", 600}}));
  EXPECT_EQ(before, client.Ask("lan.show"));

  // The call comes up without its servers, and that is told; they are there once there is room.
  const Json up = client.Ask("call.up", {{"index", 0}, {"family", "ipv4"}});
  EXPECT_TRUE(Holds(up.dump(), "the list of DNS servers is written, and is empty")) << up;
  EXPECT_EQ(Json::array(), client.Ask("dns.show")["servers"]);
  forwarders.Free();
  client.Ask("dns.stop");
  EXPECT_EQ(Json::array({"10.255.0.53"}), client.Ask("dns.start")["servers"]);
}

TEST(LifeTest, ADnsmasqThatIsMissingOrHangsIsToldInBoundedTime) {
  ASSERT_EQ(0, umount2("/data", MNT_DETACH));
  ASSERT_EQ(0, rmdir("/data"));
  const std::pair<const char*, const char*> cases[] = {{"", "exit status 127"},
                                                       {"/bin/sleep 600", "killed: it took too long"}};
  for (const auto& [script, told] : cases) {
    PutDnsmasq(script, "/tmp/bin");
    HostProcess host({"--stderr"});
    ASSERT_TRUE(host.ready());
    EXPECT_EQ(Json(true), Client().Ask("dns.show")["running"]);
    const std::string said = ExpectAnOrderlyEnd(host).err;
    EXPECT_TRUE(Holds(said, told) && Holds(said, "dnsmasq did not start")) << said;
  }
  EXPECT_EQ(0755u, ModeOf("/data"));
}

TEST(LifeTest, ASignalBesideADnsmasqThatHangsEndsTheHostInOrder) {
  // The traces for the kernel's log fail here, as in a container, and are no news.
  (void)rename("/dev/kmsg", "/dev/kmsg.aside");
  std::filesystem::create_directory("/dev/kmsg");
  PutDnsmasq("echo > /tmp/hangs; /bin/sleep 600", std::string("/tmp/bin:") + getenv("PATH"));
  HostProcess host({"--stderr", "--pid-file", kPidFile});
  ASSERT_TRUE(host.ready());
  std::filesystem::remove("/tmp/hangs");
  Client client;
  ASSERT_TRUE(client.SendRequest("up", "call.up", {{"index", 0}, {"family", "ipv4"}}));
  ASSERT_TRUE(Eventually([] { return IsThere("/tmp/hangs"); }));
  const std::string said = ExpectAnOrderlyEnd(host, SIGHUP).err;
  EXPECT_FALSE(Holds(said, "kmsg")) << said;
  std::filesystem::remove("/dev/kmsg");
  (void)rename("/dev/kmsg.aside", "/dev/kmsg");
}

TEST(LifeTest, WhatAFileHoldsCannotForgeALineOnTheTerminal) {
  HostProcess host({"--stderr"});
  ASSERT_TRUE(host.ready());
  kill(std::stoi(ProcessOf(kDnsmasqPidFile).substr(6)), SIGKILL);
  WriteFile(kDnsmasqPidFile, "x\r\x1b[2Kkwwand[1]: all is well\x9b");
  host.Signal(SIGTERM);
  const std::string said = host.AwaitEnd().err;
  EXPECT_TRUE(Holds(said, "wrong value x\\r\\x1b[2Kkwwand[1]: all is well\\x9b\n")) << said;
}

// With a call that is never answered, and with a refresh, which asks the call for its configuration for two and a half
// seconds, and which a stop waits for.
TEST(LifeTest, ASignalInTheMiddleOfACallOrARefreshEndsTheHostInOrder) {
  for (const bool refresh : {false, true}) {
    HostProcess host({"--pid-file", kPidFile});
    ASSERT_TRUE(host.ready());
    const std::string dnsmasq = ProcessOf(kDnsmasqPidFile);
    ASSERT_TRUE(IsThere(dnsmasq));
    Client client;
    Client other;
    ASSERT_TRUE(other.Modem(refresh ? "not-ready 1000000" : "ignore 1"));
    ASSERT_TRUE(client.SendRequest("up", "call.up", {{"index", 0}, {"family", "ipv4"}}));
    host.Signal(SIGPIPE);  // Changes nothing.
    ASSERT_TRUE(ComesTo(other, refresh ? "connected" : "connecting"));
    const auto start = std::chrono::steady_clock::now();
    ExpectAnOrderlyEnd(host, refresh ? SIGINT : SIGTERM);
    EXPECT_TRUE(refresh || std::chrono::steady_clock::now() - start < 2s);
    EXPECT_EQ(-32002, client.ReadAnswer("up")["error"]["code"]);
    EXPECT_TRUE(client.ReadToEnd());
    EXPECT_EQ("STOPPING=1", host.TakeNotice());
    EXPECT_TRUE(Eventually([&] { return !IsThere(dnsmasq); })) << ReadFile(dnsmasq + "/stat");
  }
}

// Not a test under ThreadSanitizer, whose runtime holds signals back while the C library blocks: no host could pass it.
#ifndef KWWAN_UNDER_TSAN
TEST(LifeTest, AHostThatIsStuckIsEndedHard) {
  (void)rename("/dev/log", "/dev/log.aside");
  HostProcess host;
  ASSERT_TRUE(host.ready());
  // A log daemon that has stopped reading holds up whoever logs.
  const kor::tools::Fd log(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  const kor::tools::Fd filler(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  const sockaddr_un address{AF_UNIX, "/dev/log"};
  const auto* where = reinterpret_cast<const sockaddr*>(&address);
  ASSERT_EQ(0, bind(log.get(), where, sizeof(address)));
  while (sendto(filler.get(), "x", 1, MSG_DONTWAIT, where, sizeof(address)) == 1) {
  }

  const auto start = std::chrono::steady_clock::now();
  host.Signal(SIGTERM);
  EXPECT_EQ(1, host.AwaitEnd().status);
  EXPECT_GT(std::chrono::steady_clock::now() - start, 1s);
  (void)rename("/dev/log.aside", address.sun_path);
}
#endif

}  // namespace
}  // namespace kor::test
