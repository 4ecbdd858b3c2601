// SPDX-License-Identifier: Apache-2.0
// What goes over the socket, right and wrong.
#include <gtest/gtest.h>

#include "host/client.h"
#include "host/host_process.h"
#include "support/wait.h"

namespace kor::test {
namespace {

struct WireTest : testing::Test {
  HostProcess host;
  Client client;
};

TEST_F(WireTest, EachMalformedLineIsAnsweredWithItsReasonAndTheConnectionLivesOn) {
  const std::string deep = R"({"id":1,"method":"host.version","params":{"a":)" + std::string(5000, '[');
  const struct {
    std::string line;
    int code;
    Json id;
    std::string reason;
  } cases[] = {
      {"", -32700, nullptr, "invalid JSON"},
      {R"({"id":1)", -32700, nullptr, "column 8"},
      {"\xff\xfe\x80", -32700, nullptr, "invalid JSON"},
      {std::string("{\"id\":1,\0}", 10), -32700, nullptr, "invalid JSON"},
      {"[]", -32600, nullptr, "one object per line"},
      {"{}", -32600, nullptr, "id"},
      {R"({"id":1.5,"method":"host.version"})", -32600, nullptr, "id"},
      {R"({"id":")" + std::string(257, 'x') + R"(","method":"host.version"})", -32600, nullptr, "256"},
      {R"({"id":"a","method":["host.version"]})", -32600, "a", "method"},
      {R"({"id":3,"jsonrpc":"1.0","method":"host.version"})", -32600, 3, "2.0"},
      {R"({"id":4,"method":"host.version","param":{}})", -32600, 4, "did you mean params?"},
      {R"({"id":5,"method":"host.version","params":[]})", -32602, 5, "an object"},
      {R"({"id":7,"method":"host.verson"})", -32601, 7, "did you mean host.version?"},
      {R"({"id":8,"method":"\u0000\u001b[31m"})", -32601, 8, "unknown method"},
      {deep + std::string(5000, ']') + "}}", -32600, nullptr, "nested"},
      {"[" + std::string(65535, ' '), -32700, nullptr, "invalid JSON"},  // As long as a line may be.
      {"[" + std::string(65536, ' '), -32600, nullptr, "65536"},
  };
  for (const auto& c : cases) {
    ASSERT_TRUE(client.Send(c.line + "\n"));
    const Json answer = client.Read();
    ASSERT_FALSE(answer.is_discarded()) << c.line.substr(0, 80);
    EXPECT_EQ(c.code, answer["error"]["code"]) << answer;
    EXPECT_EQ(c.id, answer["id"]) << answer;
    EXPECT_NE(std::string::npos, answer["error"]["message"].get<std::string>().find(c.reason)) << answer;
  }
  EXPECT_EQ(host.pid(), client.Ask("host.version")["pid"]);
}

TEST_F(WireTest, LinesComeInPiecesAndSeveralAtOnceAndAnEndedInputIsAnswered) {
  for (const char c : std::string(R"({"jsonrpc":"2.0","id":"slow","method":"host.version"})")) {
    ASSERT_TRUE(client.Send({&c, 1}));
  }
  ASSERT_TRUE(
      client.Send("\r\n"
                  R"({"id":1,"method":"host.version","params":{}})"
                  "\n"
                  R"({"id":-2,"method":)"));
  EXPECT_EQ("slow", client.ReadAnswer(nullptr)["id"]);
  EXPECT_EQ(1, client.ReadAnswer(nullptr)["id"]);
  ASSERT_TRUE(client.Send(R"("call.list"})"
                          "\n"));
  client.EndInput();
  const Json last = client.ReadAnswer(nullptr);
  EXPECT_EQ(-2, last["id"]);
  EXPECT_EQ(1u, last["result"]["policies"].size());
  EXPECT_TRUE(client.ReadToEnd());
}

TEST_F(WireTest, ARequestThatWaitsBlocksNobodyAndTellsItsProgress) {
  Client other;
  const auto state = [&] { return other.Ask("call.show", {{"index", 0}})["calls"]["ipv4"]["state"]; };
  ASSERT_TRUE(other.Modem("connect-delay 3600000"));
  ASSERT_TRUE(client.SendRequest("up", "call.up", {{"index", 0}, {"family", "ipv4"}, {"progress", true}}));
  const Json first = client.Read();
  EXPECT_EQ("progress", first["method"]);
  EXPECT_EQ("up", first["params"]["id"]);
  // Asked later, answered earlier, on another connection and on the same one.
  EXPECT_TRUE(Eventually([&] { return state() == "connecting"; }));
  ASSERT_TRUE(client.SendRequest("version", "host.version"));
  EXPECT_EQ("version", client.ReadAnswer(nullptr)["id"]);
  EXPECT_EQ(0, other.CodeOf("call.down", {{"index", 0}, {"family", "ipv4"}}));
  EXPECT_TRUE(client.ReadAnswer("up").contains("error"));
}

TEST_F(WireTest, EventsComeAfterTheAnswerToMonitorStartAndToNobodyElse) {
  Client monitor;
  EXPECT_EQ(Json::object(), monitor.Ask("monitor.start"));
  EXPECT_EQ("connected", client.Ask("call.up", {{"index", 0}, {"family", "ipv4"}})["state"]);
  Json line = monitor.Read();
  while (line["params"]["name"] != "call connected" && line["method"] == "event") line = monitor.Read();
  EXPECT_EQ("0x200", line["params"]["event"]) << line;
  // The next line of the other is its answer.
  ASSERT_TRUE(client.SendRequest("next", "host.version"));
  EXPECT_EQ("next", client.Read()["id"]);
}

}  // namespace
}  // namespace kor::test
