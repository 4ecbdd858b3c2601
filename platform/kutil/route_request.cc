// SPDX-License-Identifier: Apache-2.0
#include "kutil/route_request.h"

#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <utility>

#include "kutil/route_socket.h"

namespace kor::util {

namespace {

constexpr int kDumpAttempts = 8;  // The last one counts though links changed during it, too.
constexpr int kAnswerMs = 1000;   // An answer is there when the request returns; a guard against a hang.

template <typename T>
void Append(std::string& bytes, const T& value) {
  bytes.append(reinterpret_cast<const char*>(&value), sizeof(value));
  bytes.resize(NLMSG_ALIGN(bytes.size()));
}

void AppendAttribute(std::string& bytes, uint16_t type, const std::string& value) {
  Append(bytes, rtattr{static_cast<uint16_t>(RTA_LENGTH(value.size())), type});
  bytes += value;
  bytes.resize(NLMSG_ALIGN(bytes.size()));
}

void AppendAttribute(std::string& bytes, uint16_t type, uint32_t ipv4) {
  Append(bytes, rtattr{static_cast<uint16_t>(RTA_LENGTH(sizeof(ipv4))), type});
  Append(bytes, htonl(ipv4));
}

RouteSocket::Status Await(RouteSocket& socket, std::vector<RouteMessage>& messages) {
  pollfd ready{socket.fd(), POLLIN, 0};
  if (poll(&ready, 1, kAnswerMs) != 0) return socket.Receive(messages);
  errno = ETIMEDOUT;
  return RouteSocket::Status::kFailed;
}

// Sends one request and gathers its answer; `interrupted` when it may lack something.
bool Ask(uint16_t type, uint16_t flags, const std::string& body, std::vector<RouteMessage>& answer, bool& interrupted) {
  std::string request;
  Append(request, nlmsghdr{static_cast<uint32_t>(NLMSG_LENGTH(body.size())), type,
                           static_cast<uint16_t>(NLM_F_REQUEST | flags), 0, 0});
  request += body;
  RouteSocket socket;
  if (!socket.Open(0) || send(socket.fd(), request.data(), request.size(), 0) < 0) return false;
  std::vector<RouteMessage> messages;
  for (;;) {
    const RouteSocket::Status status = Await(socket, messages);
    if (status == RouteSocket::Status::kFailed) return false;
    if (status == RouteSocket::Status::kLost) interrupted = true;
    for (RouteMessage& message : messages) {
      interrupted = interrupted || message.interrupted;
      if (message.kind == RouteMessage::Kind::kDone) return true;
      if (message.kind == RouteMessage::Kind::kRefused) {
        errno = EIO;
        return false;
      }
      answer.push_back(std::move(message));
    }
  }
}

}  // namespace

bool Dump(uint16_t type, unsigned char family, std::vector<RouteMessage>& found) {
  std::string body;
  Append(body, rtgenmsg{family});
  for (int attempt = 0; attempt < kDumpAttempts; ++attempt) {
    bool interrupted = false;
    found.clear();
    if (!Ask(type, NLM_F_DUMP, body, found, interrupted)) return false;
    if (!interrupted) return true;
  }
  return true;
}

bool ReadLinks(std::map<int, std::string>& names) {
  std::vector<RouteMessage> links;
  const bool all = Dump(RTM_GETLINK, AF_UNSPEC, links);
  for (RouteMessage& link : links) {
    if (link.kind == RouteMessage::Kind::kLink) names[link.index] = std::move(link.name);
  }
  return all;
}

bool ChangeAddress(uint16_t type, int index, const Ipv4Address& address) {
  std::string body;
  Append(body,
         ifaddrmsg{AF_INET, static_cast<uint8_t>(address.prefix), 0, address.scope, static_cast<uint32_t>(index)});
  AppendAttribute(body, IFA_LOCAL, address.local);
  AppendAttribute(body, IFA_ADDRESS, address.peer);
  if (type == RTM_NEWADDR) {
    if (address.broadcast != 0) AppendAttribute(body, IFA_BROADCAST, address.broadcast);
    if (!address.label.empty()) AppendAttribute(body, IFA_LABEL, address.label + '\0');
  }
  std::vector<RouteMessage> answer;
  bool interrupted = false;
  return Ask(type, NLM_F_ACK | NLM_F_CREATE | NLM_F_REPLACE, body, answer, interrupted);
}

}  // namespace kor::util
