// SPDX-License-Identifier: Apache-2.0
#include "kutil/interface_monitor.h"

#include <linux/rtnetlink.h>
#include <net/if.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "common/log.h"
#include "kutil/guarded_call.h"
#include "kutil/route_request.h"

namespace kor::util {

namespace {

constexpr uint32_t kGroups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;

}  // namespace

std::shared_ptr<InterfaceMonitor> InterfaceMonitor::Create(Callback cb, int receive_buffer) {
  const std::shared_ptr<InterfaceMonitor> monitor(new InterfaceMonitor(std::move(cb), receive_buffer));
  monitor->self_ = monitor;
  // The loop's thread is an owner, too, while it is in the callback: so stopping is not left to the destructor.
  return {monitor.get(), [monitor](InterfaceMonitor*) { monitor->Stop(); }};
}

InterfaceMonitor::InterfaceMonitor(Callback cb, int receive_buffer)
    : cb_(std::move(cb)), loop_(std::make_shared<FdLoop>("kutil-netif")) {
  if (socket_.Open(kGroups, receive_buffer)) {
    names_.Replace(LinksNow());
  } else {
    KOR_LOG(LOG_ERR, "Cannot watch the network interfaces: %s\n", strerror(errno));
  }
}

void InterfaceMonitor::Start() {
  if (socket_.fd() != -1) loop_->Add(socket_.fd(), [self = self_.lock()] { self->Read(); });
}

void InterfaceMonitor::Stop() {
  stopped_ = true;
  if (socket_.fd() != -1) loop_->Remove(socket_.fd());
}

// Reads all that waits before the links are read again: an older message must not undo what they say.
void InterfaceMonitor::Read() {
  bool lost = false;
  while (!stopped_) {
    const RouteSocket::Status status = socket_.Receive(messages_);
    lost = lost || status == RouteSocket::Status::kLost;
    for (const RouteMessage& message : messages_) Handle(message);
    if (status == RouteSocket::Status::kNothing || status == RouteSocket::Status::kFailed) break;
  }
  if (lost && !stopped_) ReadLinksAgain();
}

void InterfaceMonitor::Handle(const RouteMessage& message) {
  std::vector<std::string> names = names_.Learn(message);
  char name[IFNAMSIZ] = {};
  if (names.empty() && if_indextoname(static_cast<unsigned int>(message.index), name) != nullptr) names = {name};
  for (const std::string& concerned : names) Raise(concerned);
}

void InterfaceMonitor::ReadLinksAgain() {
  KOR_LOG(LOG_DEBUG, "Changes of network interfaces came too fast: reading all of them\n");
  for (const std::string& name : names_.Replace(LinksNow())) Raise(name);
}

// What is known stays known when the kernel cannot be asked.
std::map<int, std::string> InterfaceMonitor::LinksNow() const {
  std::map<int, std::string> links;
  if (!ReadLinks(links)) {
    KOR_LOG(LOG_ERR, "Cannot read the network interfaces: %s\n", strerror(errno));
    links.insert(names_.known().begin(), names_.known().end());
  }
  return links;
}

void InterfaceMonitor::Raise(const std::string& name) {
  if (stopped_) return;
  EventDic event;
  event.event = kEvtNetIface;
  event.params[EventDic::kParamIfaceName] = name;
  GuardedCall([this, &event] { cb_(event); });
}

}  // namespace kor::util
