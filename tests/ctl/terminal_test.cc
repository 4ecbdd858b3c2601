// SPDX-License-Identifier: Apache-2.0
// The same commands with a person at a terminal.
#include <gtest/gtest.h>

#include "ctl/command.h"
#include "host/host_process.h"
#include "support/secrets.h"

namespace kor::test {
namespace {

constexpr auto kTerminal = Command::Over::kTerminal;

bool Holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST(Terminal, ACallIsFollowedOnItsWay) {
  const HostProcess host;
  ASSERT_TRUE(ModemTakes("connect-delay 800"));
  Command call("call up", kTerminal);
  EXPECT_TRUE(Holds(call.ReadTo(" of 10 s  "), "\r\x1b[K[....................]  0."));
  const Outcome outcome = call.Wait();
  EXPECT_EQ(0, outcome.status);
  EXPECT_TRUE(Holds(outcome.out, "[#...................]  0.")) << outcome.out;
  // The line is gone when the outcome is told, in colour.
  EXPECT_TRUE(Holds(outcome.out, "\r\x1b[KPolicy 0, ipv4: \x1b[32mconnected\x1b[0m, interface ")) << outcome.out;

  // Nobody wants colours, or JSON is read by a program.
  const auto plain = [](const char* line) {
    const std::string out = Command(line, kTerminal).Wait().out;
    return Holds(out, "connected") && !Holds(out, "\x1b");
  };
  EXPECT_TRUE(plain("call list --no-color"));
  setenv("NO_COLOR", "1", 1);
  EXPECT_TRUE(plain("call list"));
  unsetenv("NO_COLOR");
  EXPECT_TRUE(plain("call down --json"));
}

TEST(Terminal, AChangeOfTheLanWaitsForEnter) {
  const HostProcess host;
  Command kept("lan gateway 192.168.9.1 --move-pool --confirm 60", kTerminal);
  kept.ReadTo("Press Enter within 60 seconds");
  kept.Type("\n");
  EXPECT_TRUE(Holds(kept.Wait().out, "Confirmed."));
  EXPECT_TRUE(Holds(Ctl("lan show --json").out, "\"confirm_in_s\":null"));

  // Nobody presses it.
  Command lost("lan gateway 192.168.8.1 --move-pool --confirm 1", kTerminal);
  const Outcome outcome = lost.Wait();
  EXPECT_EQ(1, outcome.status);
  EXPECT_TRUE(Holds(outcome.out, "not confirmed: the old settings come back"));
  EXPECT_TRUE(Eventually([] { return Holds(Ctl("lan show").out, "192.168.9.1\n"); }));
}

TEST(Terminal, PinsAreTypedUnseen) {
  const HostProcess host;
  Command lock("pin lock", kTerminal);
  lock.ReadTo("PIN: ");
  lock.Type("1234\n");
  EXPECT_EQ("PIN: \r\nPIN: verified\r\n", lock.Wait().out);

  // A new one is typed twice, and nothing is done when the two differ.
  Command change("pin change", kTerminal);
  change.ReadTo("Old PIN: ");
  change.Type(std::string(kWrongPin) + "\n");
  change.ReadTo("New PIN: ");
  change.Type(std::string(kPin) + "\n");
  change.ReadTo("Once more: ");
  change.Type(std::string(kOtherPin) + "\n");
  EXPECT_EQ(1, change.Wait().status);

  // Ctrl-C at the prompt gives the echo back.
  Command shell(std::string("-c 'trap : INT; ") + KWWANCTL + " pin unlock; stty -a'", kTerminal, "/bin/sh");
  shell.ReadTo("PIN: ");
  shell.Type("12\x03");
  const std::string shown = shell.Wait().out;
  EXPECT_TRUE(Holds(shown, "interrupted")) << shown;
  EXPECT_TRUE(Holds(shown, " echo ")) << shown;
}

}  // namespace
}  // namespace kor::test
