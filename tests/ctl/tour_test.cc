// SPDX-License-Identifier: Apache-2.0
// The tour of the verbs over the shipped host: screens as people see them, JSON as programs do, exit statuses.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <regex>

#include "ctl/command.h"
#include "host/host_process.h"
#include "support/secrets.h"

namespace kor::test {
namespace {

using namespace std::string_literals;
using Json = nlohmann::ordered_json;

// The screen of a command that is done; otherwise how it ended.
std::string Screen(const std::string& line, const std::string& input = "") {
  const Outcome outcome = Ctl(line, input);
  return outcome.status == 0 ? outcome.out
                             : "status " + std::to_string(outcome.status) + ": " + outcome.out + outcome.err;
}

// The same without what differs from run to run.
std::string SteadyScreen(const std::string& line) {
  std::string text = std::regex_replace(Screen(line), std::regex("pid [0-9]+"), "pid N");
  text = std::regex_replace(text, std::regex("Updates +[0-9]+, the last [0-9.]+ s ago"), "Updates      N");
  return std::regex_replace(text, std::regex("[0-9]+\\.[0-9] s"), "N s");
}

std::string Keys(const Json& json) {
  std::string keys;
  for (const auto& [key, value] : json.items()) keys += (keys.empty() ? "" : " ") + key;
  return keys;
}

TEST(Tour, CallsComeUpAndGoDown) {
  const HostProcess host;
  EXPECT_EQ("Policy 0, ipv4: connected, interface rmnet_data0, address 10.64.0.2, DNS 10.255.0.53\n",
            Screen("call up"));
  EXPECT_EQ(
      "INDEX  PROFILE  FAMILY  STATE         INTERFACE    ADDRESS    DNS          AUTO  ROAMING\n"
      "0      1        ipv4    connected     rmnet_data0  10.64.0.2  10.255.0.53  off   on\n"
      "       1        ipv6    disconnected  -            -          -\n"
      "\n"
      "DNS service  running\n"
      "Forwarder    pid N\n"
      "Servers      10.255.0.53\n"
      "Source       calls\n"
      "resolv.conf  ours\n"
      "Updates      N\n"
      "\n"
      "Device  simulated modem\n",
      SteadyScreen("status"));

  // The other family, by profile; a switch turns it off.
  EXPECT_EQ(0, Ctl("call up --cid 1 -6").status);
  EXPECT_EQ("Policy 0, ipv6: disconnected\n", Screen("call down 0 -6"));
  EXPECT_EQ(0, Ctl("policy family 0 6 off").status);
  EXPECT_NE(std::string::npos, Screen("call list").find("disconnected (off)"));

  // Not waited for: up some time later.
  EXPECT_EQ(0, Ctl("call down").status);
  EXPECT_EQ(0, Ctl("call up --no-wait").status);
  EXPECT_TRUE(Eventually([] { return Screen("call show 0").find("IPv4 call     connected") != std::string::npos; }));
}

TEST(Tour, AConnectThatFailsIsExplained) {
  const HostProcess host;
  ASSERT_TRUE(ModemTakes("fail-connects 1"));
  const Outcome failed = Ctl("call up");
  EXPECT_EQ(1, failed.status);
  EXPECT_EQ("", failed.out);
  EXPECT_EQ(
      "kwwanctl: The modem reported a failure after N s.\n"
      "State       disconnected -> disconnected\n"
      "Modem       failed\n"
      "DNS update  not needed\n"
      "Took        N s\n"
      "TIME   STEP\n"
      "N s  request  policy 0, ipv4, connect requested; the call is disconnected\n"
      "N s  modem    the modem reports a failure\n"
      "N s  end      the call is disconnected\n",
      std::regex_replace(failed.err, std::regex("[0-9]+\\.[0-9] s"), "N s"));
}

TEST(Tour, PoliciesAndProfiles) {
  const HostProcess host;
  EXPECT_EQ("Policy 1: technology umts+lte, families ipv4v6, profiles 5 and 6, auto-connect off, roaming on\n",
            Screen("policy create --profile 5 --profile6 6 --technology umts+lte"));
  // What is not named stays; a profile alone is for both families.
  EXPECT_EQ("Policy 1: technology umts+lte, families ipv4, profiles 5 and 6, auto-connect off, roaming on\n",
            Screen("policy set 1 --family 4"));
  EXPECT_EQ("Policy 1: technology umts+lte, families ipv4, profiles 7 and 7, auto-connect off, roaming on\n",
            Screen("policy set 1 --profile 7"));
  EXPECT_EQ(0, Ctl("policy roaming 1 off").status);
  EXPECT_EQ(
      "INDEX  HANDLE  TECHNOLOGY  FAMILIES  IPV4 PROFILE  IPV6 PROFILE  AUTO  ROAMING\n"
      "0      100     any         ipv4v6    1             1             off   on\n"
      "1      101     umts+lte    ipv4      7             7             off   off\n",
      Screen("policy list"));
  EXPECT_EQ("Policy 1 is deleted.\n", Screen("policy delete 1"));

  EXPECT_EQ("CID  TYPE  NAME\n1    3gpp  internet\n2    3gpp  ims\n3    3gpp  private\n", Screen("profile list"));
  EXPECT_EQ("status 16: kwwanctl: changing profile 1: not supported\n", Screen("profile modify 1 --apn x"));
}

TEST(Tour, TheLanMovesAsAWholeOrNotAtAll) {
  const HostProcess host;
  // Without its pool it does not move, and the host's reason is shown.
  EXPECT_EQ(0u, Screen("lan gateway 192.168.9.1").find("status 2: kwwanctl: gateway: the DHCP pool 192.168.225.20"));
  const Outcome moved = Ctl("lan gateway 192.168.9.1 --move-pool --confirm 600");
  EXPECT_EQ(
      "Gateway      192.168.9.1\n"
      "Netmask      255.255.255.0\n"
      "DHCP server  on\n"
      "Pool         192.168.9.20 to 192.168.9.60\n"
      "Lease time   43200 s\n",
      moved.out.substr(0, moved.out.find("To confirm")));
  EXPECT_EQ("Unless you run \"kwwanctl lan confirm\" within 600 seconds, the old settings come back.\n", moved.err);
  EXPECT_NE(std::string::npos, Screen("lan rollback").find("192.168.225.1"));
  EXPECT_EQ("status 1: kwwanctl: no LAN change awaits confirmation\n", Screen("lan confirm"));
  EXPECT_NE(std::string::npos, Screen("lan dhcp off --lease 60").find("DHCP server  off"));

  EXPECT_EQ("ID   INTERFACE  PDN\n100  usb        -\n", Screen("vlan add 100 --interface usb"));
  EXPECT_EQ(0, Ctl("policy create --profile 5").status);
  EXPECT_EQ("ID   INTERFACE  PDN\n100  usb        1\n", Screen("vlan map 100 1"));
  // One whose PDN has become the default one is unmapped as it is shown.
  EXPECT_EQ(0, Ctl("policy delete 0").status);
  EXPECT_EQ("ID   INTERFACE  PDN\n100  usb        0\n", Screen("vlan list"));
  EXPECT_EQ("ID   INTERFACE  PDN\n100  usb        -\n", Screen("vlan unmap 100 0"));
  EXPECT_EQ("No VLANs.\n", Screen("vlan remove 100"));
  EXPECT_EQ(0, Ctl("passthrough on --host-name printer").status);
  EXPECT_EQ("Passthrough  off\nClient       host-name\nTarget       printer\n", Screen("passthrough off"));
}

TEST(Tour, RadioSimAndMessages) {
  const HostProcess host;
  EXPECT_NE(std::string::npos, Screen("radio scan").find("\n00101    Home Mobile     current    lte\n"));
  EXPECT_EQ("RADIO  RSSI dBm  RSRP dBm  RSRQ dB  SNR dB  EC/IO dB\nlte    -54       -84       -10      17.2    -\n",
            Screen("radio signal"));
  for (const char* line : {"radio cell", "radio errors", "radio system"}) EXPECT_EQ(0, Ctl(line).status) << line;

  EXPECT_EQ("PIN: verified\n", Screen("pin lock", "1234\n"));
  EXPECT_EQ("status 1: kwwanctl: the PIN is wrong\n", Screen("pin unlock", kWrongPin + "\n"s));
  EXPECT_EQ("PIN: verified\n", Screen("pin change", "1234\n"s + kPin + "\n"));
  EXPECT_EQ("PIN: disabled\n", Screen("pin unlock", kPin + "\n"s));
  EXPECT_EQ("SIM 1: power off\nSIM 1: power on\n", Screen("sim off") + Screen("sim on"));

  EXPECT_EQ(0, Ctl("sms route class-1 sim store-and-notify").status);
  EXPECT_NE(std::string::npos, Screen("sms routes").find("class 1  sim      store"));

  // A claimed AT command answers on a terminal of the modem.
  EXPECT_EQ(0, Ctl("at claim +KWPING --answer '+KWPING: pong'").status);
  EXPECT_TRUE(Eventually([] { return Screen("at list").find("+KWPING  registered") != std::string::npos; }));
  EXPECT_NE(std::string::npos, Screen("modem type AT+KWPING").find("+KWPING: pong"));
  EXPECT_EQ(0, Ctl("at release +KWPING").status);
  EXPECT_EQ("No AT command is claimed.\n", Screen("at list"));
}

TEST(Tour, JsonIsOneLineAndNothingElse) {
  const HostProcess host;
  const std::pair<const char*, const char*> verbs[] = {
      {"status", "policies dns device reconnect"},
      {"call up", "index family state interface address dns explain"},
      {"at claim +KWX --run true", "name state run answer served"},
      {"lan set --lease 60 --confirm 9", "gateway netmask dhcp start end lease_s confirm_in_s"},
      {"lan gateway nonsense", "error"},
      {"nonsense --json", "error"},
  };
  for (const auto& [line, keys] : verbs) {
    const Outcome outcome = Ctl("--json " + std::string(line));
    EXPECT_EQ(outcome.out.size() - 1, outcome.out.find('\n')) << line << ": " << outcome.out;
    EXPECT_EQ(keys, Keys(Json::parse(outcome.out, nullptr, false))) << line;
    EXPECT_EQ("", outcome.err) << line;
  }
}

TEST(Tour, AWrongWordIsNamedWithWhatTheArgumentTakes) {
  const std::pair<const char*, const char*> lines[] = {
      {"statsu", "Did you mean \"status\"?"},
      {"call", "call: takes list, show, up or down; none given"},
      {"call up --cidd 3", "call up: unknown option \"--cidd\"\nDid you mean \"--cid\"?"},
      {"call up --cid", "--cid: takes a number from 1 to 24; none given"},
      {"call up -4 -6", "-4 and -6 exclude each other"},
      {"profile create 1 --type 3gp", "Did you mean \"3gpp\"?"},
      {"at claim +X", "claim: takes --run or --answer; none given"},
      {"lan gateway 192.168.1", "ADDRESS: takes an IPv4 address like 192.168.2.1, not \"192.168.1\""},
      {"lan set --confirm 5", "lan set: takes at least one setting"},
      {"at notify '\x1b[2J\xff'", "TEXT: takes a text, not \"\\x1b[2J\\xff\""},
  };
  for (const auto& [line, text] : lines) {
    const Outcome outcome = Ctl(line);
    EXPECT_EQ(2, outcome.status) << line;
    EXPECT_NE(std::string::npos, outcome.err.find(text)) << line << ": " << outcome.err;
  }
  EXPECT_EQ(0u, Screen("policy set --help").find("Usage: kwwanctl policy set INDEX [--family FAMILY]"));
}

}  // namespace
}  // namespace kor::test
