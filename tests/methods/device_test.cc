// SPDX-License-Identifier: Apache-2.0
// Radio, short messages, profiles, passthrough, DNS files: what the tour of the command line does not show of them.
#include "host_fixture.h"
#include "shared/dns_files.h"
#include "support/files.h"
#include "support/secrets.h"

namespace kor::test {
namespace {

using namespace std::chrono_literals;

TEST_F(HostTest, TheRadioIsHeard) {
  EXPECT_EQ("lte", Call("radio.cell")["serving"]["radio"]);
  EXPECT_TRUE(Call("radio.errors")["lte_bler"].is_number());
  EXPECT_EQ("registered", Call("radio.system")["registration"]);

  // UMTS: the interference in dB.
  ASSERT_EQ("", Call("modem.run", R"({"line":"technology umts"})")["text"]);
  const Json umts = Call("radio.signal")["umts"];
  EXPECT_LE(umts["ecio"], 0) << umts;
  EXPECT_TRUE(Eventually([&] { return !Heard("network event").empty(); }));

  // Asked in vain; not taken at all; told by the scenario's own words.
  modem.FailAnswers(1);
  EXPECT_EQ(1, ErrorOf("radio.signal"));
  modem.FailNext("GetSignalInfo", 1);
  EXPECT_EQ(1, ErrorOf("radio.signal"));
  EXPECT_NE(std::string::npos,
            Call("modem.run", R"({"line":"signal 200 0"})")["error"]["message"].get<std::string>().find("0 to 100"));

  // An answer that comes when nobody waits any more harms nothing.
  modem.SetAnswerDelay(11s);
  const Json late = Call("radio.signal")["error"];
  EXPECT_EQ(3, late["code"]);
  EXPECT_EQ("the signal: no answer came in time", late["message"]);
  EXPECT_TRUE(modem.WaitIdle(kLongEnough));
}

TEST_F(HostTest, MessagesProfilesAndPassthrough) {
  EXPECT_EQ(16, ErrorOf("sms.storage", R"({"storage":"device"})"));
  ASSERT_EQ(0, ErrorOf("modem.run", R"({"line":"sms 2 +4912 \"a\u0007\""})"));
  ASSERT_TRUE(Eventually([&] { return !Heard("sms event").empty(); }));
  EXPECT_EQ("+4912", Heard("sms event")[0]["params"]["0x51"]);

  const Json profile = Call("profile.show", R"({"index":1})");
  EXPECT_TRUE(profile["has_password"].is_boolean()) << profile;
  EXPECT_FALSE(profile.contains("password"));
  EXPECT_EQ(10, ErrorOf("profile.create", R"({"index":1})"));
  const Json modify = Call("profile.modify", Json{{"index", 1}, {"apn", "x"}, {"password", kPassword}}.dump())["error"];
  EXPECT_EQ(16, modify["code"]);
  EXPECT_EQ(std::string::npos, modify.dump().find(kPassword));

  ASSERT_EQ(0, ErrorOf("vlan.add", R"({"id":100,"interface":"usb"})"));
  EXPECT_EQ(kor::host::kInvalidParams, ErrorOf("vlan.map", R"({"id":100,"pdn":0})"));
  const Json through = Call("passthrough.set", R"({"on":true,"mode":"host-name","target":"desk"})");
  EXPECT_EQ("desk", through["target"]) << through;
  // Off without a target keeps what was set.
  EXPECT_EQ("desk", Call("passthrough.set", R"({"on":false,"mode":"first-client"})")["target"]);
  EXPECT_EQ(kor::host::kInvalidParams, ErrorOf("passthrough.set", R"({"on":true,"mode":"mac-address"})"));
}

// Story: a pid file that says 1 must not make init look like the forwarder.
TEST_F(HostTest, TheDnsFilesAreReadWithCare) {
  ASSERT_TRUE(Eventually([&] { return Call("dns.show")["forwarder_pid"].is_number(); }));
  for (const char* text : {"1\n", "99999999999999999999"}) {
    WriteFile("/var/run/netctld-dnsmasq/dnsmasq.pid", text);
    EXPECT_EQ(nullptr, Call("dns.show").at("forwarder_pid")) << text;
  }
  EXPECT_EQ((std::vector<std::string>{"10.0.0.1", "fd00::1"}),
            kor::tools::ServersIn("nameserver 10.0.0.1\n#nameserver 1.1.1.1\n nameserver\tfd00::1 x\nnameserver\n"));
  WriteFile("/data/permanent-dns.conf", "nameserver 9.9.9.9\n");
  EXPECT_EQ("permanent file", Call("dns.show")["source"]);
}

}  // namespace
}  // namespace kor::test
