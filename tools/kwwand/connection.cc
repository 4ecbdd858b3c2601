// SPDX-License-Identifier: Apache-2.0
#include "kwwand/connection.h"

#include <poll.h>
#include <sys/socket.h>

namespace kor::host {

namespace {

constexpr size_t kReadSize = 16 * 1024;  // At a time, so that one client does not hold up the others.
constexpr size_t kKeptRoom = 4 * 1024;   // For output; more is given back once it is sent.

bool IsForNow(int error) { return error == EAGAIN || error == EWOULDBLOCK || error == EINTR; }

}  // namespace

void Connection::Receive() {
  if (input_ended_ || HasToCatchUp()) return;
  char bytes[kReadSize];
  const ssize_t n = recv(fd(), bytes, sizeof(bytes), 0);
  if (n > 0) {
    input_.Append({bytes, static_cast<size_t>(n)});
  } else if (n == 0) {
    input_ended_ = true;
  } else if (!IsForNow(errno)) {
    gone_ = true;
  }
}

std::optional<LineBuffer::Line> Connection::NextLine() {
  if (gone_ || HasToCatchUp()) return std::nullopt;
  return input_.Next();
}

uint64_t Connection::AddPending(const Json& id) {
  pending_.emplace(++last_request_, id);
  return last_request_;
}

std::vector<Json> Connection::TakePending() {
  std::vector<Json> ids;
  for (auto& request : pending_) ids.push_back(std::move(request.second));
  pending_.clear();
  return ids;
}

bool Connection::SendOrRefuse(const std::string& line) {
  if (output_.size() + line.size() > kMaxUnread) Flush();
  if (output_.size() + line.size() > kMaxUnread) return false;
  output_ += line;
  return true;
}

void Connection::Flush() {
  while (!output_.empty() && !gone_) {
    const ssize_t n = send(fd(), output_.data(), output_.size(), MSG_NOSIGNAL);
    if (n >= 0) {
      output_.erase(0, static_cast<size_t>(n));
    } else if (IsForNow(errno)) {
      return;
    } else {
      gone_ = true;
    }
  }
  // Else each client that stays would hold, for good, the most that it has ever let pile up.
  if (output_.empty() && output_.capacity() > kKeptRoom) output_.shrink_to_fit();
}

short Connection::WantedEvents() const {
  const int in = input_ended_ || HasToCatchUp() ? 0 : POLLIN;
  const int out = output_.empty() ? 0 : POLLOUT;
  return static_cast<short>(in | out);
}

bool Connection::IsOver() const {
  return gone_ || (input_ended_ && pending_.empty() && output_.empty() && !wants_events_);
}

}  // namespace kor::host
