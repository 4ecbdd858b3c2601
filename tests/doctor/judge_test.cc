// SPDX-License-Identifier: Apache-2.0
// What the sandbox cannot show: an ordinary user's view, and answers of servers that are not well.
#include "kwwanctl/doctor/judge.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "kwwanctl/doctor/query.h"
#include "support/dns_files.h"

namespace kor::ctl::doctor {

namespace {

// A healthy router with a host as process 12 and dnsmasq as 17.
Facts Healthy() {
  Facts facts;
  facts.host.version = "0.1.0";
  facts.host.pid = 12;
  facts.host.own_pids = facts.host.own_network = false;
  facts.host.dns_running = facts.host.call_up = true;
  facts.host.servers = {"10.255.0.53"};
  const Process dnsmasq{17, "dnsmasq", std::string("dnsmasq --pid-file=") + kDnsmasqPidPath, false};
  facts.processes.all = {dnsmasq};
  facts.processes.listeners = {{"udp", false, {dnsmasq}}, {"tcp", false, {dnsmasq}}};
  facts.processes.watchers = {12};
  facts.pid_file.text = "17\n";
  facts.resolv_conf.text = test::kRepaired;
  facts.server_list.text = "nameserver 10.255.0.53\n";
  facts.permanent_file.error = ENOENT;
  facts.name = "example.com";
  facts.local = {"127.0.0.1", 0, 0, 1};
  facts.servers = {{"10.255.0.53", 0, 0, 1}};
  return facts;
}

// "name: verdict" of all that is not well.
std::vector<std::string> Troubles(const Facts& facts) {
  std::vector<std::string> troubles;
  for (const Finding& finding : Judge(facts)) {
    if (finding.verdict != Verdict::kOk) troubles.push_back(finding.name + ": " + Name(finding.verdict));
  }
  return troubles;
}

using Texts = std::vector<std::string>;

TEST(JudgeTest, WhatMayNotBeSeenIsUnknown) {
  EXPECT_EQ(Texts{}, Troubles(Healthy()));

  // An ordinary user sees no descriptors of root's processes, and no namespaces.
  Facts facts = Healthy();
  facts.host.own_pids = facts.host.own_network = std::nullopt;
  facts.processes.complete = false;
  facts.processes.watchers.clear();
  for (Listener& listener : facts.processes.listeners) listener.holders.clear();
  EXPECT_EQ((Texts{"namespaces: unknown", "resolv-conf-watch: unknown", "port-53: unknown"}), Troubles(facts));

  // A file that may not be read is no missing file.
  facts = Healthy();
  facts.pid_file = facts.server_list = facts.permanent_file = facts.resolv_conf = {std::nullopt, EACCES};
  EXPECT_LE(4u, Troubles(facts).size());
  for (const std::string& trouble : Troubles(facts)) EXPECT_NE(std::string::npos, trouble.find("unknown")) << trouble;
}

TEST(JudgeTest, ServersAndAnswers) {
  // dnsmasq uses another list than the file's: the server answers, 127.0.0.1 does not.
  Facts facts = Healthy();
  facts.local = {"127.0.0.1", 5, 0, 1};
  EXPECT_EQ(Texts{"query: problem"}, Troubles(facts));
  EXPECT_EQ(0u, Judge(facts).back().action.find("touch ")) << Judge(facts).back().action;

  // Nobody listens there: that is no matter of lists.
  facts.local = {"127.0.0.1", std::nullopt, ECONNREFUSED, 0};
  EXPECT_EQ(std::string::npos, Judge(facts).back().action.find("touch ")) << Judge(facts).back().action;

  // The server refuses the name; no server answers at all.
  facts.local = {"127.0.0.1", 5, 0, 1};
  facts.servers.front().code = 5;
  EXPECT_EQ((Texts{"servers: problem", "query: problem"}), Troubles(facts));
  facts.servers.front() = {"10.255.0.53", std::nullopt, ETIMEDOUT, 0};
  facts.local.code = 2;
  EXPECT_EQ((Texts{"servers: problem", "query: problem"}), Troubles(facts));

  // One who listens on every address is no rival of ours on 127.0.0.1; a call without a server wants none.
  facts = Healthy();
  facts.processes.listeners.push_back({"udp", true, {{18, "other", "other", false}}});
  facts.host.servers.insert("0.0.0.0");
  EXPECT_EQ(Texts{}, Troubles(facts));

  // A child that nobody has waited for is alive to the library.
  facts = Healthy();
  facts.processes.all.front().zombie = true;
  EXPECT_EQ(Texts{"pid-file: problem"}, Troubles(facts));
}

TEST(QueryTest, TheQuestionAndItsOwnAnswer) {
  EXPECT_EQ(std::string("\x12\x34\1\0\0\1\0\0\0\0\0\0\2ab\1c\0\0\1\0\1", 22), QueryFor("ab.c", 0x1234));
  for (const std::string& bad : {std::string("a..b"), std::string(64, 'x')}) EXPECT_EQ("", QueryFor(bad, 1)) << bad;

  // Nobody listens: told at once. No address: told as such.
  const std::vector<Reply> replies = AskAll({"127.0.0.1", "none"}, "example.com", std::chrono::seconds(20));
  EXPECT_EQ(ECONNREFUSED, replies[0].error);
  EXPECT_EQ(EINVAL, replies[1].error);

  // A server that says nothing costs the limit, not more.
  const int fd = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(53);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(0, bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)));
  EXPECT_EQ(ETIMEDOUT, AskAll({"127.0.0.1"}, "example.com", std::chrono::milliseconds(50))[0].error);
  close(fd);
}

}  // namespace

}  // namespace kor::ctl::doctor
