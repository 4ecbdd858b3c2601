// SPDX-License-Identifier: Apache-2.0
#include "kwwand/wire/connection.h"

#include <poll.h>
#include <sys/socket.h>

namespace kor::host {

namespace {

constexpr size_t kReadSize = 16 * 1024;  // At a time, so that one client does not hold up the others.

bool IsForNow(int error) { return error == EAGAIN || error == EWOULDBLOCK || error == EINTR; }

}  // namespace

void Connection::Receive() {
  if (HasGone() || input_ended_ || HasToCatchUp()) return;
  char bytes[kReadSize];
  const ssize_t n = recv(fd(), bytes, sizeof(bytes), 0);
  if (n > 0) {
    input_.Append({bytes, static_cast<size_t>(n)});
  } else if (n == 0) {
    input_ended_ = true;
  } else if (!IsForNow(errno)) {
    HangUp();
  }
}

std::optional<LineBuffer::Line> Connection::NextLine() {
  if (HasGone() || HasToCatchUp()) return std::nullopt;
  return input_.Next();
}

bool Connection::HasToCatchUp() const {
  return pending_.size() >= kMaxPending || pending_bytes_ > kMuchPending || output_.size() > kMuchUnread;
}

uint64_t Connection::AddPending(const Json& id, size_t bytes) {
  pending_bytes_ += bytes;
  pending_.emplace(++last_request_, Pending{id, bytes});
  return last_request_;
}

bool Connection::EndPending(uint64_t request) {
  const auto found = pending_.find(request);
  if (found == pending_.end()) return false;
  pending_bytes_ -= found->second.bytes;
  pending_.erase(found);
  return true;
}

std::vector<Json> Connection::TakePending() {
  std::vector<Json> ids;
  for (auto& [number, request] : pending_) ids.push_back(std::move(request.id));
  pending_.clear();
  pending_bytes_ = 0;
  return ids;
}

void Connection::Send(const std::string& line) {
  if (!HasGone()) output_ += line;
}

bool Connection::SendOrRefuse(const std::string& line) {
  if (output_.size() + line.size() > kMaxUnread) Flush();
  if (output_.size() + line.size() > kMaxUnread) return false;
  Send(line);
  return true;
}

void Connection::Flush() {
  while (!output_.empty()) {
    const ssize_t n = send(fd(), output_.data(), output_.size(), MSG_NOSIGNAL);
    if (n >= 0) {
      output_.erase(0, static_cast<size_t>(n));
    } else if (IsForNow(errno)) {
      return;
    } else {
      HangUp();
    }
  }
  ReleaseCapacity(output_);
}

short Connection::WantedEvents() const {
  const int in = input_ended_ || HasToCatchUp() ? 0 : POLLIN;
  const int out = output_.empty() ? 0 : POLLOUT;
  return static_cast<short>(in | out);
}

void Connection::HangUp() {
  socket_.Close();
  output_.clear();
}

bool Connection::IsOver() const {
  if (HasGone()) return pending_.empty();
  return input_ended_ && pending_.empty() && output_.empty() && !wants_events_;
}

}  // namespace kor::host
