// SPDX-License-Identifier: Apache-2.0
// Many clients, many requests, slow readers, clients that go away.
#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <thread>

#include "host/client.h"
#include "host/host_process.h"
#include "support/wait.h"

namespace kor::test {
namespace {

constexpr int kMaxClients = 128;
constexpr int kMaxWaiting = 32;

struct BurdenTest : testing::Test {
  HostProcess host;
};

TEST_F(BurdenTest, Of200ClientsAtOnce128AreServedAndTheOthersToldSo) {
  std::list<Client> clients(200);
  int served = 0;
  int turned_away = 0;
  for (Client& client : clients) {
    const Json answer = client.Ask("host.version");
    if (answer.contains("pid")) ++served;
    if (answer.is_null()) ++turned_away;
  }
  EXPECT_EQ(kMaxClients, served);
  EXPECT_EQ(200 - kMaxClients, turned_away);

  Client late;
  EXPECT_EQ(-32001, late.Read()["error"]["code"]);
  EXPECT_TRUE(late.ReadToEnd());
  clients.clear();  // There is room again.
  EXPECT_TRUE(Eventually([&] { return Client().Ask("host.version").contains("pid"); }));
}

TEST_F(BurdenTest, ABurstOfTenThousandRequestsIsAnsweredWhileOthersAreServed) {
  constexpr int kRequests = 10'000;
  Client client;
  std::thread sender([&] {
    for (int id = 0; id < kRequests && client.SendRequest(id, "host.version"); ++id) {
    }
  });
  EXPECT_EQ(host.pid(), Client().Ask("host.version")["pid"]);
  int answered = 0;
  while (answered < kRequests && client.ReadAnswer(nullptr)["id"] == answered) ++answered;
  sender.join();
  EXPECT_EQ(kRequests, answered);
}

TEST_F(BurdenTest, ASlowReaderOfEventsIsCutOffAndCostsTheOthersNothing) {
  Client slow;
  Client quick;
  Client modem;
  EXPECT_EQ(Json::object(), slow.Ask("monitor.start"));
  EXPECT_EQ(Json::object(), quick.Ask("monitor.start"));
  // Other events may stand between, such as the DNS service's own.
  const auto heard = [&quick] {
    Json event = quick.Read();
    while (event.contains("params") && event["params"]["name"] != "network event") event = quick.Read();
    return event.contains("params");
  };
  const size_t before = host.CountSockets();
  int events = 0;
  while (host.CountSockets() == before && events < 20'000) {
    ASSERT_TRUE(modem.Modem(events % 2 == 0 ? "signal 40 0" : "signal 90 0"));
    ASSERT_TRUE(heard());
    ++events;
  }
  EXPECT_EQ(before - 1, host.CountSockets());
  EXPECT_TRUE(slow.ReadToEnd());
  EXPECT_GT(events, 1000);  // It was given a chance.
}

TEST_F(BurdenTest, WhatManyClientsDoNotReadIsBoundedInSumAndCostsTheOthersNothing) {
  Client honest;
  const std::string text(2048, 'x');
  for (int i = 0; i < 32; ++i) {
    ASSERT_EQ(0, honest.CodeOf("at.claim", {{"name", "+KW" + std::to_string(i)}, {"answer", text}}));
  }
  const size_t sockets = host.CountSockets();
  std::list<Client> greedy(8);
  ASSERT_TRUE(Eventually([&] { return host.CountSockets() == sockets + greedy.size(); }));
  for (Client& one : greedy) {
    for (int id = 0; id < 30; ++id) ASSERT_TRUE(one.SendRequest(id, "at.list"));
  }
  // Each has 2 MB to read, and 8 MiB are what all may have.
  EXPECT_TRUE(Eventually([&] { return host.CountSockets() < sockets + 5; }));
  EXPECT_EQ(32u, honest.Ask("at.list")["commands"].size());
}

TEST_F(BurdenTest, TooManyWaitingRequestsAreToldSoAndClientsThatDieInThemLeaveNothing) {
  Client client;
  ASSERT_TRUE(client.Modem("connect-delay 3600000"));
  ASSERT_EQ(0, client.CodeOf("call.up", {{"index", 0}, {"family", "ipv4"}, {"wait", false}}));
  const size_t before = host.CountSockets();
  std::list<Client> waiting(kMaxWaiting);
  for (Client& one : waiting) {
    ASSERT_TRUE(one.SendRequest("wait", "modem.run", {{"line", "wait-idle 3600000"}}));
    EXPECT_EQ(host.pid(), one.Ask("host.version")["pid"]);  // What does not wait is served; by then the other runs.
  }
  EXPECT_EQ(-32001, client.CodeOf("modem.run", {{"line", "help"}}));

  waiting.clear();
  EXPECT_TRUE(Eventually([&] { return host.CountSockets() == before; }));
  // What they asked for goes on, until it is done.
  EXPECT_EQ(-32001, client.CodeOf("modem.run", {{"line", "help"}}));
  // Until then they count, so that nobody piles up requests by coming and going.
  std::list<Client> others(kMaxClients);
  const auto is_served = [](Client& one) { return one.Ask("host.version").contains("pid"); };
  EXPECT_EQ(kMaxClients - kMaxWaiting - 1, std::count_if(others.begin(), others.end(), is_served));
}

}  // namespace
}  // namespace kor::test
