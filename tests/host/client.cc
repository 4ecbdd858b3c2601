// SPDX-License-Identifier: Apache-2.0
#include "host/client.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "support/wait.h"

namespace kor::test {

namespace {

constexpr int kLimitMs = std::chrono::milliseconds(kLongEnough).count();

}  // namespace

Client::Client() : fd_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_un address{AF_UNIX, {}};
  std::string(kSocket).copy(address.sun_path, sizeof(address.sun_path) - 1);
  if (connect(fd_.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) fd_.Close();
}

bool Client::Send(std::string_view text) {
  while (!text.empty()) {
    pollfd ready{fd_.get(), POLLOUT, 0};
    if (poll(&ready, 1, kLimitMs) != 1) return false;
    const ssize_t n = send(fd_.get(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (n < 0 && errno != EAGAIN) return false;
    if (n > 0) text.remove_prefix(static_cast<size_t>(n));
  }
  return true;
}

bool Client::SendRequest(const Json& id, const std::string& method, const Json& params) {
  return Send(Json({{"id", id}, {"method", method}, {"params", params}}).dump() + "\n");
}

bool Client::Fill() {
  char bytes[16 * 1024];
  pollfd ready{fd_.get(), POLLIN, 0};
  if (poll(&ready, 1, kLimitMs) != 1) return false;
  const ssize_t n = recv(fd_.get(), bytes, sizeof(bytes), 0);
  if (n <= 0) return false;
  input_.append(bytes, static_cast<size_t>(n));
  return true;
}

Json Client::Read() {
  size_t end = 0;
  while ((end = input_.find('\n')) == std::string::npos) {
    if (!Fill()) return Json::value_t::discarded;
  }
  const std::string line = input_.substr(0, end);
  input_.erase(0, end + 1);
  return Json::parse(line, nullptr, false);
}

Json Client::ReadAnswer(const Json& id) {
  for (;;) {
    Json line = Read();
    if (line.is_discarded()) return nullptr;
    if (line.contains("id") && (id.is_null() || line["id"] == id)) return line;
  }
}

Json Client::Ask(const std::string& method, const Json& params) {
  const Json id = ++last_id_;
  if (!SendRequest(id, method, params)) return nullptr;
  Json answer = ReadAnswer(id);
  return answer.contains("result") ? answer["result"] : answer;
}

int Client::CodeOf(const std::string& method, const Json& params) {
  const Json answer = Ask(method, params);
  if (answer.is_null()) return -1;
  return answer.contains("error") ? answer["error"]["code"].get<int>() : 0;
}

void Client::EndInput() { shutdown(fd_.get(), SHUT_WR); }

bool Client::ReadToEnd() {
  while (Fill()) input_.clear();
  char byte = 0;
  return recv(fd_.get(), &byte, 1, MSG_DONTWAIT) == 0 || errno == ECONNRESET;
}

}  // namespace kor::test
