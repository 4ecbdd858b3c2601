// SPDX-License-Identifier: Apache-2.0
// Radio, SIM, PIN, short messages, profiles, VLANs, DNS files: each once through its methods.
#include <algorithm>

#include "host_fixture.h"
#include "shared/dns_files.h"
#include "support/files.h"
#include "support/secrets.h"

namespace kor::test {
namespace {

using namespace std::chrono_literals;

TEST_F(HostTest, TheRadioIsHeard) {
  const Json networks = Call("radio.scan")["networks"];
  const auto serves = [](const Json& network) { return network["status"] == "current" && network["radio"] == "lte"; };
  EXPECT_EQ(1, std::count_if(networks.begin(), networks.end(), serves)) << networks;
  const Json signal = Call("radio.signal");
  EXPECT_EQ(nullptr, signal.at("gsm"));
  EXPECT_LT(signal["lte"]["rsrp"], -40);
  EXPECT_LT(signal["lte"]["snr"], 40);
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

TEST_F(HostTest, TheCardIsLockedAndPoweredWithoutPinsInSight) {
  ASSERT_TRUE(modem.EnterPuk(1, kPuk, kPin));
  EXPECT_EQ("disabled", Call("pin.status")["status"]);
  const Json wrong = Call("pin.lock", Json{{"pin_id", 1}, {"pin", kWrongPin}}.dump());
  EXPECT_EQ(0x10c, wrong["error"]["code"]);
  EXPECT_EQ("the PIN is wrong", wrong["error"]["message"]);
  EXPECT_EQ("verified", Call("pin.lock", Json{{"pin", kPin}}.dump())["status"]);
  EXPECT_EQ("verified", Call("pin.change", Json{{"old_pin", kPin}, {"new_pin", kOtherPin}}.dump())["status"]);
  EXPECT_EQ("disabled", Call("pin.unlock", Json{{"pin", kOtherPin}}.dump())["status"]);
  EXPECT_EQ(10, ErrorOf("pin.change", Json{{"old_pin", kOtherPin}, {"new_pin", kPin}}.dump()));
  EXPECT_EQ("off", Call("sim.off", R"({"slot":1})")["power"]);
  EXPECT_EQ(0x125, ErrorOf("pin.status"));
  EXPECT_EQ("on", Call("sim.on", R"({"slot":1})")["power"]);
  EXPECT_EQ(1, ErrorOf("sim.on", R"({"slot":2})"));
}

TEST_F(HostTest, MessagesProfilesVlansAndTheDevice) {
  const Json routes = Call("sms.route", R"({"class":"class 2","storage":"sim","action":"store-and-notify"})")["routes"];
  const Json wanted{{"class", "class 2"}, {"storage", "sim"}, {"action", "store-and-notify"}};
  EXPECT_EQ(1, std::count(routes.begin(), routes.end(), wanted)) << routes;
  EXPECT_EQ(routes, Call("sms.routes")["routes"]);
  EXPECT_EQ(16, ErrorOf("sms.storage", R"({"storage":"device"})"));
  ASSERT_EQ(0, ErrorOf("modem.run", R"({"line":"sms 2 +4912 \"a\u0007\""})"));
  ASSERT_TRUE(Eventually([&] { return !Heard("sms event").empty(); }));
  EXPECT_EQ("+4912", Heard("sms event")[0]["params"]["0x51"]);

  EXPECT_EQ("3gpp", Call("profile.list")["profiles"][0]["type"]);
  const Json profile = Call("profile.show", R"({"index":1})");
  EXPECT_TRUE(profile["has_password"].is_boolean()) << profile;
  EXPECT_FALSE(profile.contains("password"));
  EXPECT_EQ(10, ErrorOf("profile.create", R"({"index":1})"));
  const Json modify = Call("profile.modify", Json{{"index", 1}, {"apn", "x"}, {"password", kPassword}}.dump())["error"];
  EXPECT_EQ(16, modify["code"]);
  EXPECT_EQ(std::string::npos, modify.dump().find(kPassword));

  EXPECT_EQ(1u, Call("vlan.add", R"({"id":100,"interface":"usb"})")["vlans"].size());
  ASSERT_EQ(0, ErrorOf("policy.create", R"({"profile":2})"));
  EXPECT_EQ(1, Call("vlan.map", R"({"id":100,"pdn":1})")["vlans"][0]["pdn"]);
  EXPECT_EQ(nullptr, Call("vlan.unmap", R"({"id":100,"pdn":1})").at("vlans").at(0).at("pdn"));
  // One whose PDN has become the default one is unmapped as it is shown.
  EXPECT_EQ(0, ErrorOf("vlan.map", R"({"id":100,"pdn":1})"));
  EXPECT_EQ(0, ErrorOf("policy.delete", R"({"index":0})"));
  EXPECT_EQ(0, Call("vlan.list")["vlans"][0]["pdn"]);
  EXPECT_EQ(kor::host::kInvalidParams, ErrorOf("vlan.map", R"({"id":100,"pdn":0})"));
  EXPECT_EQ(0, ErrorOf("vlan.unmap", R"({"id":100,"pdn":0})"));
  EXPECT_EQ(nullptr, Call("vlan.list").at("vlans").at(0).at("pdn"));
  EXPECT_EQ(Json::array(), Call("vlan.remove", R"({"id":100})")["vlans"]);
  const Json through = Call("passthrough.set", R"({"on":true,"mode":"host-name","target":"desk"})");
  EXPECT_EQ("desk", through["target"]) << through;
  // Off without a target keeps what was set.
  EXPECT_EQ("desk", Call("passthrough.set", R"({"on":false,"mode":"first-client"})")["target"]);
  EXPECT_EQ(kor::host::kInvalidParams, ErrorOf("passthrough.set", R"({"on":true,"mode":"mac-address"})"));

  const Json status = Call("host.status");
  EXPECT_TRUE(status["device"]["model"].is_string()) << status;
  EXPECT_EQ(nullptr, status.at("device").at("package_version"));
  EXPECT_EQ(true, status["dns"]["running"]);
  EXPECT_EQ(status["device"], Call("device.show"));
}

// Story: a pid file that says 1 must not make init look like the forwarder.
TEST_F(HostTest, TheDnsFilesAreReadWithCare) {
  ASSERT_TRUE(Eventually([&] { return Call("dns.show")["forwarder_pid"].is_number(); }));
  for (const char* text : {"1\n", "", "-1", "99999999999999999999", "none"}) {
    WriteFile("/var/run/netctld-dnsmasq/dnsmasq.pid", text);
    EXPECT_EQ(nullptr, Call("dns.show").at("forwarder_pid")) << text;
  }
  EXPECT_EQ((std::vector<std::string>{"10.0.0.1", "fd00::1"}),
            kor::tools::ServersIn("nameserver 10.0.0.1\n#nameserver 1.1.1.1\n nameserver\tfd00::1 x\nnameserver\n"));
  WriteFile("/data/permanent-dns.conf", "nameserver 9.9.9.9\n");
  EXPECT_EQ("permanent file", Call("dns.show")["source"]);
  WriteFile("/etc/resolv.conf", "nameserver 8.8.8.8\n");
  EXPECT_TRUE(Eventually([&] { return Call("dns.show")["resolv_conf_is_ours"] == true; }));  // Repaired.
}

}  // namespace
}  // namespace kor::test
