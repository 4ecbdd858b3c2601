// SPDX-License-Identifier: Apache-2.0
#include "kutil/interface_monitor.h"

#include <linux/rtnetlink.h>
#include <net/if.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iterator>
#include <system_error>
#include <utility>

#include "common/log.h"
#include "kutil/guarded_call.h"
#include "kutil/route_request.h"

namespace kor::util {

namespace {

constexpr uint32_t kGroups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;

void LogCannotWatch(int error) { KOR_LOG(LOG_ERR, "Cannot watch the network interfaces: %s\n", strerror(error)); }

}  // namespace

std::shared_ptr<InterfaceMonitor> InterfaceMonitor::Create(Callback cb, int receive_buffer) {
  const std::shared_ptr<InterfaceMonitor> monitor(new InterfaceMonitor(std::move(cb)));
  monitor->self_ = monitor;
  monitor->Subscribe(receive_buffer);
  // The thread is an owner, too, as long as it runs: so stopping is not left to the destructor.
  return {monitor.get(), [monitor](InterfaceMonitor*) { monitor->Stop(); }};
}

InterfaceMonitor::InterfaceMonitor(Callback cb) : cb_(std::move(cb)), wake_fd_(eventfd(0, EFD_CLOEXEC)) {}

InterfaceMonitor::~InterfaceMonitor() {
  if (wake_fd_ != -1) close(wake_fd_);
}

void InterfaceMonitor::Subscribe(int receive_buffer) {
  if (wake_fd_ != -1 && socket_.Open(kGroups, receive_buffer)) {
    names_.Replace(LinksNow());
  } else {
    LogCannotWatch(errno);
  }
}

void InterfaceMonitor::Start() {
  const std::shared_ptr<InterfaceMonitor> self = self_.lock();  // The first callback may let go of it.
  if (socket_.fd() == -1) return;
  MutexLock lock(mutex_);
  try {
    thread_ = std::thread([self] { self->Main(); });
  } catch (const std::system_error& e) {
    LogCannotWatch(e.code().value());
  }
}

void InterfaceMonitor::Stop() {
  std::thread ended;
  {
    MutexLock lock(mutex_);
    stopped_ = true;
    ended.swap(thread_);
  }
  if (!ended.joinable()) return;
  if (ended.get_id() == std::this_thread::get_id()) {
    ended.detach();
  } else {
    eventfd_write(wake_fd_, 1);
    ended.join();
  }
}

void InterfaceMonitor::Main() {
  pthread_setname_np(pthread_self(), "kutil-netif");
  while (!stopped_) {
    pollfd ready[] = {{socket_.fd(), POLLIN, 0}, {wake_fd_, POLLIN, 0}};
    if (poll(ready, std::size(ready), -1) > 0 && ready[0].revents != 0) GuardedCall([this] { Read(); });
  }
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
