// SPDX-License-Identifier: Apache-2.0
// What the router keeps over a restart, whatever becomes of its file.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>

#include "router/router.h"
#include "support/files.h"
#include "support/syslog_reader.h"

namespace kor::test {
namespace {

using kor::util::IPFamily;
using kor::vendor::qcom::qcmap::Router;
using kor::vendor::qcom::qcmap::RouterState;
using Lan = kor::wwan::MobileapManager;

class StateTest : public testing::Test {
 protected:
  StateTest() { std::filesystem::remove_all(std::filesystem::path(path).parent_path()); }

  static std::unique_ptr<Router> Start() {
    return std::make_unique<Router>(kor::modem::ModemPort::Get(), Router::kStateFile);
  }
  static std::string Text(Router& router) { return StateText(router.lan.Snapshot()); }

  // Of everything that can be set something that is not the default.
  static void SetAll(Router& router) {
    EXPECT_TRUE(router.policies.Create({2, 3, kor::wwan::Tech::kLte, IPFamily::kIpv6, 0}));
    EXPECT_TRUE(router.policies.Create({4, -1, kor::wwan::Tech::kAny, IPFamily::kIpv4, 0}));
    EXPECT_TRUE(router.policies.SetRoaming(0, false) && router.policies.SetEnabled(0, IPFamily::kIpv6, false));
    EXPECT_TRUE(router.lan.Set({true, "10.0.0.1", "255.255.255.0", true, "10.0.0.2", "10.0.0.9", -1}));
    router.lan.Activate();
    EXPECT_TRUE(router.lan.Set({true, "10.9.0.1", "255.255.0.0", false, "", "", 60}));
    EXPECT_TRUE(router.lan.SetVlan({Lan::LanInterface::kUsb, 20, 1}) && router.lan.MapVlan(20, 2));
    EXPECT_TRUE(router.lan.SetPassthrough(true, {Lan::IpPassthroughMode::kHostName, "desk-1"}));
  }

  const std::string path = Router::kStateFile;
};

TEST_F(StateTest, ARouterIsAfterARestartAsItWas) {
  auto router = Start();
  EXPECT_FALSE(std::filesystem::exists(path));
  SetAll(*router);
  const std::string before = Text(*router);
  EXPECT_EQ(before, ReadFile(path));
  router = Start();
  EXPECT_EQ(before, Text(*router));
  EXPECT_EQ("10.0.0.1 10.9.0.1", router->lan.InForce().gw + " " + router->lan.Config().gw);

  // The last policy goes, and its handle with it, over a restart too.
  EXPECT_FALSE(router->lan.DeletePdn(2));
  EXPECT_TRUE(router->lan.UnmapVlan(20) && router->lan.DeletePdn(2));
  router = Start();
  EXPECT_TRUE(router->policies.Create({1, 1, kor::wwan::Tech::kAny, IPFamily::kBoth, 0}));
  EXPECT_EQ(103, router->policies.List().at(2).handle);
}

TEST_F(StateTest, AFileThatIsOfNoUseIsKeptAsideAndSaid) {
  auto router = Start();
  SetAll(*router);
  const std::string good = Text(*router);
  const std::string defaults = StateText(RouterState());
  const auto with = [&good](const std::string& old, const std::string& text) {
    const size_t at = good.find(old);
    EXPECT_NE(std::string::npos, at) << old;
    return std::string(good).replace(at, old.size(), text);
  };
  const std::string hostile[] = {
      "",
      "\xff\xfe",
      good.substr(0, good.size() / 2),
      std::string(1 << 20, '['),
      std::string(5 << 20, ' '),
      "[1]",
      with("\"version\": 1", "\"version\": 2"),
      with("\"next_handle\": 103", "\"next_handle\": 102"),
      with("\"next_handle\": 103", "\"next_handle\": 2147483647"),
      with("\"handle\": 101", "\"handle\": 100"),
      with("\"profile_1\": 2", "\"profile_1\": 18446744073709551615"),
      with("\"roaming\": false", "\"roaming\": 0"),
      with("\"ipv6\"", "\"ipv5\""),
      with("10.0.0.1", "10.0.0.1\\nnameserver 6.6.6.6"),
      with("\"id\": 20", "\"id\": 4095"),
      with("\"policy\": 102", "\"policy\": 99"),
      with("desk-1", "desk 1"),
      with("\"mode\": 2", "\"mode\": 3"),
  };
  SyslogReader log;
  for (const std::string& text : hostile) {
    WriteFile(path, text);
    EXPECT_EQ(defaults, Text(*Start())) << text.substr(0, 2000);
    EXPECT_EQ(text.size(), std::filesystem::file_size(path + ".bad"));
    EXPECT_FALSE(std::filesystem::exists(path));
  }
  EXPECT_EQ(std::size(hostile), log.TakeWith("it is kept as " + path + ".bad").size());

  // What is no file at all is not waited for.
  std::filesystem::remove(path + ".bad");
  ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
  EXPECT_EQ(defaults, Text(*Start()));
  EXPECT_TRUE(std::filesystem::is_fifo(path + ".bad"));
}

TEST_F(StateTest, AWriteThatFailsLeavesTheOldFileAndIsMadeUpFor) {
  auto router = Start();
  ASSERT_TRUE(router->policies.SetRoaming(0, false));
  const std::string old = ReadFile(path);
  signal(SIGXFSZ, SIG_IGN);
  const rlimit none{10, RLIM_INFINITY};
  const rlimit all{RLIM_INFINITY, RLIM_INFINITY};

  // No room for the file. The changes hold, and the log says so once.
  SyslogReader log;
  ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &none));
  EXPECT_TRUE(router->policies.SetAutoConnect(0, false) && router->lan.SetVlan({Lan::LanInterface::kUsb, 20, -1}));
  ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &all));
  EXPECT_EQ(old, ReadFile(path));
  EXPECT_FALSE(std::filesystem::exists(path + ".new"));
  EXPECT_EQ(1u, log.TakeWith("changes are lost at the next restart").size());

  // The next one takes all of them along.
  EXPECT_TRUE(router->lan.SetVlan({Lan::LanInterface::kUsb, 30, -1}));
  EXPECT_EQ(Text(*router), Text(*Start()));
  EXPECT_NE(old, ReadFile(path));
}

// A process that is killed at any moment of a write, as by a power cut, leaves a file that is whole.
TEST_F(StateTest, AKillLeavesTheOldFileOrTheNewOne) {
  auto router = Start();
  SetAll(*router);
  const RouterState state = router->lan.Snapshot();
  for (int round = 0; round < 50; ++round) {
    const pid_t child = fork();
    if (child == 0) {
      const kor::vendor::qcom::qcmap::StateFile file(path);
      for (RouterState next = state;; ++next.lan.recorded.dhcp_lease_time) file.Write(StateText(next));
    }
    usleep(static_cast<useconds_t>(500 + 37 * round));
    ASSERT_EQ(0, kill(child, SIGKILL));
    ASSERT_EQ(child, waitpid(child, nullptr, 0));
    const std::string text = ReadFile(path);
    EXPECT_EQ(text, StateText(kor::vendor::qcom::qcmap::ReadState(text)));
  }
}

}  // namespace
}  // namespace kor::test
