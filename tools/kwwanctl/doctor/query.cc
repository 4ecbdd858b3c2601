// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/doctor/query.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <sstream>

#include "shared/fd.h"

namespace kor::ctl::doctor {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr size_t kHeaderSize = 12;
constexpr size_t kLongestName = 253;
constexpr size_t kLongestLabel = 63;
constexpr unsigned char kIsAnswer = 0x80;                             // In the third byte.
constexpr unsigned char kCodeOfBits = 0x0f;                           // In the fourth.
constexpr char kRecursionDesired[] = {1, 0, 0, 1, 0, 0, 0, 0, 0, 0};  // Flags, one question, nothing else.
constexpr char kTypeAClassIn[] = {0, 1, 0, 1};

// A socket connected to port 53 of `server`, so that a refusal is told. None, with errno, when it cannot be had.
kor::tools::Fd ConnectTo(const std::string& server) {
  addrinfo hints{};
  hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
  hints.ai_socktype = SOCK_DGRAM;
  addrinfo* found = nullptr;
  errno = EINVAL;
  if (getaddrinfo(server.c_str(), "53", &hints, &found) != 0) return {};
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> address(found, freeaddrinfo);
  kor::tools::Fd fd(socket(address->ai_family, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (fd.is_open() && connect(fd.get(), address->ai_addr, address->ai_addrlen) == 0) return fd;
  return {};  // Neither close() nor free() that succeeds changes errno.
}

// One question under way.
class Question {
 public:
  Question(Reply& reply, const std::string& query) : reply_(reply), query_(query), fd_(ConnectTo(reply.server)) {
    const bool sent =
        fd_.is_open() && send(fd_.get(), query.data(), query.size(), 0) == static_cast<ssize_t>(query.size());
    reply_.error = sent ? ETIMEDOUT : errno;
    open_ = sent;
  }
  Question(const Question&) = delete;
  Question& operator=(const Question&) = delete;

  bool open() const { return open_; }
  int fd() const { return open_ ? fd_.get() : -1; }

  // Takes what has come: an answer to this question, or the news that there will be none.
  void Read(steady_clock::time_point asked) {
    char answer[512] = {};
    const ssize_t size = recv(fd_.get(), answer, sizeof(answer), 0);
    if (size < 0 && errno == EAGAIN) return;
    if (size >= 0 && !IsMine(answer, static_cast<size_t>(size))) return;
    open_ = false;
    reply_.error = size < 0 ? errno : 0;
    if (size >= 0) reply_.code = static_cast<unsigned char>(answer[3]) & kCodeOfBits;
    reply_.took_ms = static_cast<int>(std::chrono::duration_cast<milliseconds>(steady_clock::now() - asked).count());
  }

 private:
  bool IsMine(const char* answer, size_t size) const {
    return size >= kHeaderSize && std::equal(answer, answer + 2, query_.begin()) &&
           (static_cast<unsigned char>(answer[2]) & kIsAnswer) != 0;
  }

  Reply& reply_;
  const std::string& query_;
  const kor::tools::Fd fd_;
  bool open_ = false;
};

}  // namespace

std::string QueryFor(const std::string& name, uint16_t id) {
  std::string query{static_cast<char>(id >> 8), static_cast<char>(id & 0xff)};
  query.append(kRecursionDesired, sizeof(kRecursionDesired));
  if (name.empty() || name.size() > kLongestName) return "";
  std::istringstream labels(name);
  for (std::string label; std::getline(labels, label, '.');) {
    if (label.empty() || label.size() > kLongestLabel) return "";
    query += static_cast<char>(label.size());
    query += label;
  }
  query += '\0';
  return query.append(kTypeAClassIn, sizeof(kTypeAClassIn));
}

std::vector<Reply> AskAll(const std::vector<std::string>& servers, const std::string& name, milliseconds limit) {
  const auto asked = steady_clock::now();
  const std::string query = QueryFor(name, static_cast<uint16_t>(asked.time_since_epoch().count()));
  std::vector<Reply> replies(servers.size());
  std::vector<std::unique_ptr<Question>> questions;
  for (size_t i = 0; i < servers.size(); ++i) {
    replies[i].server = servers[i];
    questions.push_back(std::make_unique<Question>(replies[i], query));
  }
  const auto open = [](const auto& question) { return question->open(); };
  for (auto left = limit; left.count() > 0 && std::any_of(questions.begin(), questions.end(), open);
       left = limit - std::chrono::duration_cast<milliseconds>(steady_clock::now() - asked)) {
    std::vector<pollfd> fds;
    for (const auto& question : questions) fds.push_back({question->fd(), POLLIN, 0});
    (void)poll(fds.data(), fds.size(), static_cast<int>(left.count()));  // What has not come is not read.
    for (size_t i = 0; i < fds.size(); ++i) {
      if (fds[i].revents != 0) questions[i]->Read(asked);
    }
  }
  return replies;
}

}  // namespace kor::ctl::doctor
