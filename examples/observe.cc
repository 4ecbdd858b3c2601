// SPDX-License-Identifier: Apache-2.0
#include "observe.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <thread>

namespace kor::demo {

namespace {

constexpr char kDataInterfacePrefix[] = "rmnet_data";
constexpr std::chrono::seconds kPatience{5};
constexpr std::chrono::milliseconds kPause{10};

std::string AddressText(const sockaddr* address) {
  char text[NI_MAXHOST] = "";
  const socklen_t size = address->sa_family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
  return getnameinfo(address, size, text, sizeof(text), nullptr, 0, NI_NUMERICHOST) == 0 ? text : "";
}

bool IsLinkLocal(const sockaddr* address) {
  return address->sa_family == AF_INET6 &&
         IN6_IS_ADDR_LINKLOCAL(&reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr);
}

// Calls `visit` with each data interface's entries until it returns true; whether it did.
bool AnyDataInterface(const std::function<bool(const ifaddrs&)>& visit) {
  ifaddrs* head = nullptr;
  if (getifaddrs(&head) != 0) return false;
  const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(head, &freeifaddrs);
  for (const ifaddrs* entry = head; entry != nullptr; entry = entry->ifa_next) {
    if (strncmp(entry->ifa_name, kDataInterfacePrefix, strlen(kDataInterfacePrefix)) == 0 && visit(*entry)) return true;
  }
  return false;
}

}  // namespace

std::string ReadFile(const std::string& path) {
  std::ifstream file(path);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

bool IsAlive(pid_t pid) { return pid > 0 && kill(pid, 0) == 0; }

pid_t LiveProcess(const std::string& pid_path) {
  const pid_t pid = atoi(ReadFile(pid_path).c_str());
  return IsAlive(pid) ? pid : 0;
}

std::string DataInterface(int family) {
  std::string found;
  AnyDataInterface([&](const ifaddrs& entry) {
    if (entry.ifa_addr == nullptr || entry.ifa_addr->sa_family != family || IsLinkLocal(entry.ifa_addr)) return false;
    found = std::string(entry.ifa_name) + " " + AddressText(entry.ifa_addr);
    return true;
  });
  return found;
}

bool HasDataInterface() {
  return AnyDataInterface([](const ifaddrs&) { return true; });
}

std::string LookUp(const std::string& name, int family) {
  addrinfo hints{};
  hints.ai_family = family;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* head = nullptr;
  const int error = getaddrinfo(name.c_str(), nullptr, &hints, &head);
  if (error != 0) return std::string("(") + gai_strerror(error) + ")";
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(head, &freeaddrinfo);
  return AddressText(head->ai_addr);
}

bool Eventually(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(kPause);
  }
  return true;
}

}  // namespace kor::demo
