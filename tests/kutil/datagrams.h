// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/socket.h>

#include <functional>

namespace kor::test {

// Runs `change` on the next datagram that this program's own objects and the library's receive, on the receiving
// thread, before it is looked at: the linker leads their recvmsg() by here.
void OnNextDatagram(std::function<void(msghdr& message)> change);

}  // namespace kor::test
