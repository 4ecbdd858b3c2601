// SPDX-License-Identifier: Apache-2.0
// The command language, good lines and hostile ones.
#include "simulator/scenario.h"

#include <fstream>
#include <string>

#include "simulator/bench.h"
#include "simulator/faults.h"

namespace kor::test {

using kor::modem::RunScenarioFile;
using kor::modem::RunScenarioLine;

class ScenarioTest : public BenchTest {
 protected:
  // "ok: text" or "no: text".
  std::string Run(const std::string& line) {
    const auto reply = RunScenarioLine(modem, line);
    return (reply.ok ? "ok: " : "no: ") + reply.text;
  }
};

TEST_F(ScenarioTest, EachCommandDoesWhatItSays) {
  for (const char* line :
       {"connect-delay 0", "disconnect-delay\t0", "not-ready 1", "dns 4 8.8.8.8 -",
        "call-dns 100 6 2001:db8::1 \"2001:db8::2\"", "carrier -", "links off", " # a comment", "",
        "fail \"StartCall\" 1 42 # and a comment", "record on", "round-trip 0", "round-trip 1 GetCallConfig"}) {
    EXPECT_EQ("ok: ", Run(line)) << line;
  }
  EXPECT_EQ(kor::Result{42}, qcmap->ConnectBackhaul(0, kIpv4));
  BringUp(0, kIpv4);
  EXPECT_EQ("not-ready", Config(0, kIpv4));
  EXPECT_EQ("success 10.64.0.2 8.8.8.8 -", Config(0, kIpv4));
  EXPECT_EQ("ok: ", Run("not-ready 0"));
  BringUp(0, kIpv6);
  EXPECT_EQ("success fd64:0::2 2001:db8::1 2001:db8::2", Config(0, kIpv6));

  // Faults, and what the network does.
  Run("record");
  for (const char* line : {"fail-disconnects 1", "fail-connects 1"}) EXPECT_EQ("ok: ", Run(line)) << line;
  EXPECT_EQ("disconnect-failed 100 4", Disconnect(0, kIpv4));
  EXPECT_EQ("ok: ", Run("drop 100 4"));
  EXPECT_EQ("disconnected 100 4", listener.Next());
  EXPECT_EQ("connect-failed 100 4", Connect(0, kIpv4));
  EXPECT_EQ("ok: StopCall 100 4\nStartCall 100 4 1", Run("record"));
  EXPECT_EQ("ok: ", Run("record off"));
  EXPECT_EQ("ok: ", Run("ignore 1"));
  EXPECT_EQ(kSuccess, qcmap->ConnectBackhaul(0, kIpv4));
  for (const char* line : {"lose 1", "drop 100 6", "wait-idle 20000"}) EXPECT_EQ("ok: ", Run(line)) << line;
  EXPECT_EQ("connecting connected", States(0));
  ExpectQuiet();

  // The list of all begins like this.
  const std::string help = Run("help");
  EXPECT_EQ(0u, help.find("ok: connect-delay MS                        time from a connect to its outcome\n")) << help;
}

TEST_F(ScenarioTest, AWrongLineNamesWhatIsWrongAndChangesNothing) {
  const std::string operations = std::string("no: fail: OPERATION takes ") + kor::modem::kOperationNames;
  const struct {
    std::string line;
    const char* reply;
  } kLines[] = {
      {"drop", "no: drop: HANDLE is missing; it takes a call's handle, such as 100"},
      {"drop 100", "no: drop: FAMILY is missing; it takes 4 or 6"},
      {"drop 99 4", "no: drop: the call is not up"},
      {"connect-delay -1", "no: connect-delay: MS takes 0 to 3600000 milliseconds"},
      {"connect-delay 1 2", "no: connect-delay: \"2\" is one word too many"},
      {"ignore 1000001", "no: ignore: COUNT takes 0 to 1000000"},
      {"dns 4 8.8.8.8", "no: dns: DNS2 is missing; it takes an IPv4 address or -"},
      {"dns 4 2001:db8::1 -", "no: dns: DNS1 takes an IPv4 address or -"},
      {"links maybe", "no: links: SWITCH takes on or off"},
      {"carrier carrier", "no: carrier: PATH takes an absolute path without blanks and quotes, or -"},
      {"fail ConnectBackhaul 1", operations.c_str()},
      {"fail StartCall 1 0", "no: fail: RESULT takes a result code, 1 to 65535"},
      {"fail \"StartCall 1", "no: a quote is not closed"},
      {"explode now", "no: \"explode\" is no command; help lists them"},
  };
  for (const auto& row : kLines) EXPECT_EQ(row.reply, Run(row.line)) << row.line;
  BringUp(0, kIpv4);
  EXPECT_EQ("success 10.64.0.2 10.255.0.53 -", Config(0, kIpv4));
}

TEST_F(ScenarioTest, AFileRunsUpToItsFirstWrongLine) {
  const std::string path = "/tmp/scenario";
  std::string error;
  std::ofstream(path) << "# a slow network\nnot-ready 1\n\ndns 4 9.9.9.9 -";
  EXPECT_TRUE(RunScenarioFile(modem, path, error)) << error;
  BringUp(0, kIpv4);
  EXPECT_EQ("not-ready", Config(0, kIpv4));
  EXPECT_EQ("success 10.64.0.2 9.9.9.9 -", Config(0, kIpv4));

  std::ofstream(path) << "fail StartCall 1\nroaming perhaps\nfail StartCall 0\n";
  EXPECT_FALSE(RunScenarioFile(modem, path, error));
  EXPECT_EQ("/tmp/scenario:2: roaming: SWITCH takes on or off", error);
  EXPECT_EQ(kFailure, qcmap->ConnectBackhaul(0, kIpv6));

  EXPECT_FALSE(RunScenarioFile(modem, "/tmp/no/such", error));
  EXPECT_EQ("/tmp/no/such: No such file or directory", error);
  EXPECT_FALSE(RunScenarioFile(modem, "/tmp", error));
  EXPECT_EQ("/tmp: Is a directory", error);
}

}  // namespace kor::test
