// SPDX-License-Identifier: Apache-2.0
// What happens to a command while it runs: its host, its reader or its person goes; texts that would play tricks.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "ctl/command.h"
#include "host/host_process.h"
#include "kwwanctl/table.h"
#include "support/files.h"

namespace kor::test {
namespace {

TEST(Life, TheMonitorEndsWithItsReaderAndOnSignals) {
  const HostProcess host;
  Command to_reader("monitor");
  Command to_signal("monitor --json");
  Command by_ctrl_c("status --watch");
  ASSERT_TRUE(Eventually([&] {
    (void)Ctl("call up");
    (void)Ctl("call down");
    return to_reader.HasSaid("call connected") && to_signal.HasSaid("call connected");
  }));
  EXPECT_TRUE(to_reader.HasSaid("Z  call connected          event 0x200  handle 100  index 0  family ipv4\n"));
  EXPECT_TRUE(to_signal.HasSaid("\"event\":\"0x200\",\"name\":\"call connected\",\"handle\":100"));
  by_ctrl_c.ReadTo("Device");

  // No event comes any more, and they end all the same, quietly.
  to_reader.CloseOutput();
  const Outcome quiet = to_reader.Wait();
  EXPECT_EQ(0, quiet.status);
  EXPECT_EQ("", quiet.err);
  kill(to_signal.pid(), SIGTERM);
  EXPECT_EQ(0, to_signal.Wait().status);
  kill(by_ctrl_c.pid(), SIGINT);
  EXPECT_EQ(0, by_ctrl_c.Wait().status);
}

TEST(Life, AHostThatIsKilledInACallAndUnderAMonitor) {
  HostProcess host;
  ASSERT_TRUE(ModemTakes("connect-delay 9000"));
  Command monitor("monitor");
  Command call("call up");
  ASSERT_TRUE(Eventually([] { return Ctl("call show").out.find("IPv4 call     connecting") != std::string::npos; }));
  ASSERT_TRUE(
      Eventually([&] { return ModemTakes("signal 40 0") && ModemTakes("signal 90 0") && monitor.HasSaid("Z  "); }));
  host.Signal(SIGKILL);
  for (Command* command : {&call, &monitor}) {
    const Outcome outcome = command->Wait();
    EXPECT_EQ(4, outcome.status);
    EXPECT_EQ(0u, outcome.err.find("kwwanctl: the host closed the connection (/run/kwwand/kwwand.sock)"))
        << outcome.err;
  }

  // And from now on there is none.
  EXPECT_TRUE(Eventually([] {
    return Ctl("status").err ==
           "kwwanctl: cannot reach the host at /run/kwwand/kwwand.sock: Connection refused. Is kwwand running?\n";
  }));
  const Outcome elsewhere = Ctl("--json --socket /run/nowhere status");
  EXPECT_EQ(4, elsewhere.status);
  EXPECT_EQ(0u, elsewhere.out.find("{\"error\":{\"code\":-32003,")) << elsewhere.out;
}

// How a command ends whose host answers that.
Outcome Answered(const std::string& lines, const std::string& line) {
  const FakeHost host(lines);
  return Ctl(line);
}

TEST(Life, HostileAnswers) {
  // A network with a name that would clear the screen, ring, and write backwards; and its neighbour stays in line.
  EXPECT_EQ(
      "NETWORK  NAME                     STATUS     RADIO\n"
      "00101    a\\x1b[2J\\x07\\n\\u{202e}b  current    lte\n"
      "46000    中国移动通信集团         available  lte\n",
      Answered("{\"method\":\"event\",\"params\":{}}\n"
               R"({"id":1,"result":{"networks":[{"mcc":"001","mnc":"01","name":"a\u001b[2J\u0007\n\u202eb",)"
               R"("status":"current","radio":"lte"},)"
               R"({"mcc":"460","mnc":"00","name":"中国移动通信集团","status":"available","radio":"lte"}]}})"
               "\n",
               "radio scan")
          .out);
  // In JSON they are escaped too. Nor does an event or an error write a line of its own.
  EXPECT_EQ("{\"model\":\"\\u001b\\u009b\\u007f\"}\n",
            Answered("{\"id\":1,\"result\":{\"model\":\"\\u001b\\u009b\\u007f\"}}\n", "device show --json").out);
  EXPECT_EQ("9:00  up\\n                    \\x1b[2J a\\nb\n",
            Answered("{\"id\":1,\"result\":{}}\n"
                     R"({"method":"event","params":{"time":"9:00","name":"up\n","\u001b[2J":"a\nb"}})"
                     "\n",
                     "monitor")
                .out);
  EXPECT_EQ("kwwanctl: full\\nkwwanctl: all is well\\x1b[1A\n",
            Answered(R"({"id":null,"error":{"code":-32001,"message":"full\nkwwanctl: all is well\u001b[1A",)"
                     R"("data":{"nearest":7}}})"
                     "\n",
                     "status")
                .err);
  const std::string doctor = Ctl("doctor --socket /run/\x1b[2J").out;
  EXPECT_TRUE(doctor.find("/run/\\x1b[2J") != std::string::npos && doctor.find('\x1b') == std::string::npos);
  const Outcome outcome = Answered("this is no JSON\n", "monitor");
  EXPECT_EQ(1, outcome.status);
  EXPECT_EQ(0u, outcome.err.find("kwwanctl: the host's answer is not understood: ")) << outcome.err;
  EXPECT_EQ(
      "kwwanctl: the host's answer is not understood: it nests too deep\n",
      Answered("{\"id\":1,\"result\":" + std::string(200000, '[') + std::string(200000, ']') + "}\n", "status").err);
  EXPECT_EQ(4, Answered("{\"id\":1,\"res", "status").status);
}

TEST(Life, TheCompletionRunsNothingOfAnAnswer) {
  const FakeHost host(
      "{\"id\":1,\"result\":{\"policies\":[{\"index\":\"$(touch /run/expanded)\"},{\"index\":\"9;reboot\"},"
      "{\"index\":7}]}}\n");
  const Outcome offered =
      Command(std::string("-c '. ") + KWWAN_SOURCE + "/packaging/bash-completion/kwwanctl; COMP_WORDS=(" + KWWANCTL +
                  " call up \"\"); COMP_CWORD=3; _kwwanctl; echo \"${COMPREPLY[@]}\"'",
              Command::Over::kPipes, "/bin/bash")
          .Wait();
  EXPECT_EQ("7\n", offered.out) << offered.err;
  EXPECT_NE(0, access("/run/expanded", F_OK));
}

TEST(Life, SecretsAreNeverArguments) {
  const HostProcess host;
  // It waits for the PIN; others look at it meanwhile, and afterwards.
  Command lock("pin lock");
  const std::string cmdline = "/proc/" + std::to_string(lock.pid()) + "/cmdline";
  ASSERT_TRUE(Eventually([&] { return ReadFile(cmdline).find("lock") != std::string::npos; }));
  EXPECT_EQ(std::string("kwwanctl\0pin\0lock\0", 18), ReadFile(cmdline).substr(ReadFile(cmdline).rfind("kwwanctl")));
  lock.Type("1234\n");
  EXPECT_EQ("PIN: verified\n", lock.Wait().out);

  // There is no way to give one as an argument, and a wrong one is not repeated.
  EXPECT_EQ(2, Ctl("pin lock 1234").status);
  EXPECT_EQ("kwwanctl: PIN: takes 4 to 8 digits\n", Ctl("pin lock", "12a4\n").err);
  EXPECT_EQ("kwwanctl: standard input ended before the secret\n", Ctl("pin lock").err);
  EXPECT_EQ("kwwanctl: the secret: takes text in UTF-8\n", Ctl("profile modify 1 --password", "\xff\n").err);
}

TEST(Life, AFullDiskIsAnErrorAndAClosedOutputNoPlaceForTheConnection) {
  const HostProcess host;
  const auto version = [](const std::string& redirected) {
    return Command("-c '" + std::string(KWWANCTL) + " version " + redirected + "'", Command::Over::kPipes, "/bin/sh")
        .Wait();
  };
  const Outcome outcome = version(">/dev/full");
  EXPECT_EQ(1, outcome.status);
  EXPECT_EQ("kwwanctl: cannot write the output: No space left on device\n", outcome.err);
  EXPECT_EQ(1, version(">&-").status);
}

TEST(Text, IsMeasuredAndEscapedByCharacters) {
  EXPECT_EQ(8u, ctl::DisplayWidth("中国移动"));
  EXPECT_EQ(4u, ctl::DisplayWidth("cafe\u0301"));
  EXPECT_EQ("\\xff\\xc0\\x80a\u00e9\\xed\\xa0\\x80\\xe0\\x80\\xaf\\xe4\\xb8",
            ctl::Escape("\xff\xc0\x80"
                        "a\u00e9\xed\xa0\x80\xe0\x80\xaf\xe4\xb8"));
  EXPECT_EQ("a\\r\n\\tb", ctl::EscapeLines("a\r\n\tb"));
}

}  // namespace
}  // namespace kor::test
