// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kor::host {

constexpr size_t kKeptRoom = 4 * 1024;  // Bytes.

// Of a client's buffer that has been emptied: else each client that stays would hold, for good, the room of the most
// that has ever been in it.
inline void GiveBackRoom(std::string& emptied) {
  if (emptied.capacity() > kKeptRoom) emptied.shrink_to_fit();
}

}  // namespace kor::host
