// SPDX-License-Identifier: Apache-2.0
// What a client costs that has once let much pile up.
#include "kwwand/connection.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <poll.h>
#include <sys/socket.h>

namespace kor::test {
namespace {

using namespace kor::host;

// What the program has of the heap, buffers of any size; 0 under the sanitizers.
size_t HeapInUse() {
  const auto heap = mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

TEST(ConnectionTest, TheRoomOfWhatPiledUpIsGivenBackOnceItIsRead) {
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
  Connection connection{Fd(ends[0]), Caller()};
  const Fd client(ends[1]);
  const std::string line(10'000, 'x');
  const size_t before = HeapInUse();

  size_t sent = 0;
  for (; sent < 200; ++sent) connection.Send(line);
  EXPECT_FALSE(connection.SendOrRefuse(line));
  size_t read = 0;
  for (size_t round = 0; round < sent && read < sent * line.size(); ++round) {
    char bytes[64 * 1024];
    for (ssize_t n; (n = recv(client.get(), bytes, sizeof(bytes), 0)) > 0;) read += static_cast<size_t>(n);
    connection.Flush();
  }

  EXPECT_EQ(read, sent * line.size());
  EXPECT_LT(HeapInUse(), before + 64 * 1024);
}

}  // namespace
}  // namespace kor::test
