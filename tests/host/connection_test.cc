// SPDX-License-Identifier: Apache-2.0
// What a client costs that has once let much pile up, or sent much.
#include "kwwand/wire/connection.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/socket.h>

namespace kor::test {
namespace {

using namespace kor::host;

// What the program has of the heap, buffers of any size; 0 under the sanitizers.
size_t HeapInUse() {
  const auto heap = mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

struct Ends {
  std::unique_ptr<Connection> connection;
  Fd client;
};

Ends Connected() {
  int ends[2] = {-1, -1};
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
  return {std::make_unique<Connection>(Fd(ends[0]), Caller()), Fd(ends[1])};
}

TEST(ConnectionTest, TheRoomOfWhatPiledUpIsGivenBackOnceItIsRead) {
  auto [connection, client] = Connected();
  const std::string line(10'000, 'x');
  const size_t before = HeapInUse();

  size_t sent = 0;
  for (; sent < 200; ++sent) connection->Send(line);
  EXPECT_FALSE(connection->SendOrRefuse(line));
  size_t read = 0;
  for (size_t round = 0; round < sent && read < sent * line.size(); ++round) {
    char bytes[64 * 1024];
    for (ssize_t n; (n = recv(client.get(), bytes, sizeof(bytes), 0)) > 0;) read += static_cast<size_t>(n);
    connection->Flush();
  }

  EXPECT_EQ(read, sent * line.size());
  EXPECT_LT(HeapInUse(), before + 64 * 1024);
}

TEST(ConnectionTest, TheRoomOfALongLineIsGivenBackOnceItIsTaken) {
  auto [connection, client] = Connected();
  const size_t before = HeapInUse();

  for (const size_t length : {LineBuffer::kMaxLine, 2 * LineBuffer::kMaxLine}) {
    const std::string sent = std::string(length, 'x') + '\n';
    std::vector<LineBuffer::Line> lines;
    for (size_t done = 0; done < sent.size();) {
      const ssize_t n = send(client.get(), &sent[done], std::min<size_t>(sent.size() - done, 10'000), 0);
      ASSERT_GT(n, 0);
      done += static_cast<size_t>(n);
      connection->Receive();
      while (auto line = connection->NextLine()) lines.push_back(std::move(*line));
    }
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].too_long, length > LineBuffer::kMaxLine);
  }

  EXPECT_LT(HeapInUse(), before + 32 * 1024);
}

}  // namespace
}  // namespace kor::test
