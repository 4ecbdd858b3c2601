// SPDX-License-Identifier: Apache-2.0
// Who may do what, and what becomes of a method that throws.
#include "kwwand/wire/dispatcher.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <future>
#include <memory>

#include "shared/fd.h"
#include "support/wait.h"

namespace kor::test {
namespace {

using namespace kor::host;

constexpr uid_t kUser = 1000;

struct DispatcherTest : testing::Test {
  // The code of the refusal; 0 when the request was taken.
  int Start(uint64_t number, const std::string& method, Access access = Access::kChange) {
    try {
      dispatcher.Start({7, {kUser, {kUser}, 1}, access}, number, {number, method, Json::object(), {}});
    } catch (const RequestError& error) {
      return error.code();
    }
    return 0;
  }

  std::vector<Mail> TakeMails(size_t count) {
    std::vector<Mail> mails;
    while (mails.size() < count) {
      pollfd ready{mailbox.fd(), POLLIN, 0};
      if (poll(&ready, 1, std::chrono::milliseconds(kLongEnough).count()) != 1) return mails;
      for (Mail& mail : mailbox.Take()) mails.push_back(std::move(mail));
    }
    return mails;
  }

  Mailbox mailbox;
  Dispatcher dispatcher{
      {{"read", Access::kRead, Lane::kShort, [](const Request&) -> Json { return "\xff read"; }},
       {"change", Access::kChange, Lane::kShort, [](const Request&) -> Json { return nullptr; }},
       {"run", Access::kRun, Lane::kShort, [](const Request& request) -> Json { return request.access; }},
       {"throw", Access::kRead, Lane::kShort, [](const Request&) -> Json { throw std::runtime_error("no modem"); }},
       {"refuse", Access::kRead, Lane::kShort,
        [](const Request&) -> Json {
          throw RequestError(10, "not now", {{"why", "busy"}});
        }}},
      mailbox};
};

TEST_F(DispatcherTest, NobodyDoesMoreThanHeMay) {
  EXPECT_EQ(kNotPermitted, Start(1, "change", Access::kRead));
  EXPECT_EQ(0, Start(2, "read", Access::kRead));
  EXPECT_EQ(0, Start(3, "change", Access::kChange));
  EXPECT_EQ(kUnknownMethod, Start(4, "chnge", Access::kRead));
  EXPECT_EQ(kNotPermitted, Start(5, "run", Access::kChange));
  EXPECT_EQ(0, Start(6, "run", Access::kRun));
  const auto mails = TakeMails(3);
  ASSERT_EQ(3u, mails.size());
  EXPECT_EQ("{\"jsonrpc\":\"2.0\",\"id\":2,\"result\":\"\xEF\xBF\xBD read\"}\n", mails[0].line);
  EXPECT_EQ(3u, mails[1].request);
  EXPECT_EQ("{\"jsonrpc\":\"2.0\",\"id\":6,\"result\":2}\n", mails[2].line);  // A method is told.
}

TEST_F(DispatcherTest, WhatAMethodThrowsIsItsAnswer) {
  ASSERT_EQ(0, Start(1, "throw"));
  ASSERT_EQ(0, Start(2, "refuse"));
  const auto mails = TakeMails(2);
  ASSERT_EQ(2u, mails.size());
  EXPECT_EQ("{\"jsonrpc\":\"2.0\",\"id\":1,\"error\":{\"code\":1,\"message\":\"no modem\"}}\n", mails[0].line);
  EXPECT_EQ(
      "{\"jsonrpc\":\"2.0\",\"id\":2,\"error\":{\"code\":10,\"message\":\"not now\",\"data\":{\"why\":\"busy\"}}}\n",
      mails[1].line);
}

TEST(DispatcherEndTest, AnAnswerThatNobodyFetchesHoldsNothingUp) {
  Mailbox mailbox;
  std::promise<void> runs;
  auto dispatcher = std::make_unique<Dispatcher>(Methods{{"fill", Access::kRead, Lane::kShort,
                                                          [&](const Request&) -> Json {
                                                            runs.set_value();
                                                            return nullptr;
                                                          }}},
                                                 mailbox);
  mailbox.Post({Mail::Kind::kEvent, std::string(Mailbox::kMuchWaiting + 1, 'x')});
  dispatcher->Start({7, {kUser, {kUser}, 1}, Access::kRead}, 1, {1, "fill", Json::object(), {}});
  runs.get_future().wait();
  auto end = std::async(std::launch::async, [&] { dispatcher.reset(); });
  EXPECT_EQ(std::future_status::ready, end.wait_for(kLongEnough));
  mailbox.Close();
}

TEST(PeerTest, RootAndTheHostsUserMayDoAllAndMembersWhatTheirGroupMay) {
  constexpr uid_t kHost = 500;
  const Peer stranger{1000, {1000, 27}, 1};
  EXPECT_EQ(Access::kRead, AccessOf(stranger, kHost, {100, 101}));
  EXPECT_EQ(Access::kChange, AccessOf(stranger, kHost, {1000, 101}));  // The primary group counts,
  EXPECT_EQ(Access::kRun, AccessOf(stranger, kHost, {1000, 27}));      // and the others.
  EXPECT_EQ(Access::kRun, AccessOf({0, {0}, 1}, kHost, {}));
  EXPECT_EQ(Access::kRun, AccessOf({kHost, {1}, 1}, kHost, {}));

  int ends[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
  const Fd one(ends[0]);
  const Fd other(ends[1]);
  const Peer peer = PeerOf(one.get());
  EXPECT_EQ(getuid(), peer.uid);
  EXPECT_EQ(getpid(), peer.pid);
  EXPECT_EQ(getgid(), peer.groups.at(0));
  EXPECT_EQ(static_cast<size_t>(getgroups(0, nullptr)) + 1, peer.groups.size());
}

}  // namespace
}  // namespace kor::test
