// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <sys/inotify.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <system_error>

#include "kwwanctl/doctor/gather.h"
#include "shared/fd.h"

namespace kor::ctl::doctor {

namespace {

namespace fs = std::filesystem;

constexpr char kPort53[] = ":0035";
constexpr char kTcpListens[] = "0A";
constexpr char kUdpUnconnected[] = "07";
constexpr char kLoopback[] = "0100007F";  // The kernel writes addresses as the machine has them in memory, ...
constexpr char kLoopbackBig[] = "7F000001";
constexpr char kMappedLoopback[] = "0000000000000000FFFF00000100007F";  // ... in words of 32 bits.

// A socket's inode, and what listens there.
using Sockets = std::map<std::string, Listener>;

std::string FirstLine(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

std::string Link(const std::string& path) {
  std::error_code error;
  return fs::read_symlink(path, error).string();
}

bool IsEveryAddress(const std::string& address) { return address.find_first_not_of('0') == std::string::npos; }

bool IsLoopback(const std::string& address) {
  return address == kLoopback || address == kLoopbackBig || address == kMappedLoopback;
}

// The sockets of one table of /proc/net that take what is sent to port 53 of 127.0.0.1.
void ReadSockets(const char* table, const char* state_wanted, Sockets& sockets) {
  std::ifstream file(std::string("/proc/net/") + table);
  std::string line;
  std::getline(file, line);  // The heading.
  while (std::getline(file, line)) {
    std::istringstream words(line);
    std::string number, local, remote, state, queues, timer, retransmits, uid, timeout, inode;
    words >> number >> local >> remote >> state >> queues >> timer >> retransmits >> uid >> timeout >> inode;
    const size_t colon = local.find(':');
    if (colon == std::string::npos || local.substr(colon) != kPort53 || state != state_wanted) continue;
    const std::string address = local.substr(0, colon);
    if (IsLoopback(address)) sockets[inode] = {std::string(table, 3), false, {}};
    if (IsEveryAddress(address)) sockets[inode] = {std::string(table, 3), true, {}};
  }
}

// "ino:7 sdev:2c" of each watch that a descriptor's line in fdinfo tells.
std::set<std::string> WatchedInodes(const std::string& fdinfo) {
  std::set<std::string> inodes;
  std::ifstream file(fdinfo);
  for (std::string line; std::getline(file, line);) {
    const size_t begin = line.find("ino:");
    if (line.rfind("inotify ", 0) == 0) inodes.insert(line.substr(begin, line.find(" mask:") - begin));
  }
  return inodes;
}

// The inode at `path` in the words of fdinfo: asked of the kernel by a watch of our own, so that it is the same on
// every kind of file system. Empty when it cannot be watched.
std::string InodeAt(const char* path) {
  const kor::tools::Fd fd(inotify_init1(IN_CLOEXEC));
  if (!fd.is_open() || inotify_add_watch(fd.get(), path, IN_DELETE_SELF) < 0) return "";
  const std::set<std::string> inodes = WatchedInodes("/proc/self/fdinfo/" + std::to_string(fd.get()));
  return inodes.empty() ? "" : *inodes.begin();
}

std::string CommandOf(const std::string& folder) {
  std::ifstream file(folder + "/cmdline", std::ios::binary);
  std::string command((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  while (!command.empty() && command.back() == '\0') command.pop_back();
  std::replace(command.begin(), command.end(), '\0', ' ');
  return command;
}

// "7 (name) S 1 ...": the state stands behind the last bracket, whatever the name holds.
bool IsZombie(const std::string& folder) {
  const std::string stat = FirstLine(folder + "/stat");
  const size_t bracket = stat.rfind(") ");
  return bracket != std::string::npos && bracket + 2 < stat.size() && stat[bracket + 2] == 'Z';
}

Process ProcessOf(pid_t pid) {
  const std::string folder = "/proc/" + std::to_string(pid);
  return {pid, FirstLine(folder + "/comm"), CommandOf(folder), IsZombie(folder)};
}

// What a walk looks for.
struct Wanted {
  Sockets sockets;
  std::string watched;
};

// One process's descriptors.
void LookAtDescriptors(const Process& process, Wanted& wanted, Processes& found) {
  const std::string folder = "/proc/" + std::to_string(process.pid);
  std::error_code error;
  fs::directory_iterator entry(folder + "/fd", error);
  if (error == std::errc::permission_denied) found.complete = false;
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    const std::string target = Link(entry->path());
    if (target.empty()) found.complete = found.complete && errno != EACCES;
    if (target.rfind("socket:[", 0) == 0) {
      const auto socket = wanted.sockets.find(target.substr(8, target.size() - 9));
      if (socket != wanted.sockets.end()) socket->second.holders.push_back(process);
    } else if (target == "anon_inode:inotify" &&
               WatchedInodes(folder + "/fdinfo/" + entry->path().filename().string()).count(wanted.watched) > 0) {
      found.watchers.insert(process.pid);
    }
  }
}

}  // namespace

Processes LookAtProcesses() {
  Wanted wanted;
  ReadSockets("udp", kUdpUnconnected, wanted.sockets);
  ReadSockets("udp6", kUdpUnconnected, wanted.sockets);
  ReadSockets("tcp", kTcpListens, wanted.sockets);
  ReadSockets("tcp6", kTcpListens, wanted.sockets);
  wanted.watched = InodeAt(kResolvConfPath);

  Processes found;
  std::error_code error;
  for (fs::directory_iterator entry("/proc", error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    const std::string name = entry->path().filename();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    const Process process = ProcessOf(std::stoi(name));
    if (process.name.empty()) continue;  // Gone meanwhile.
    found.all.push_back(process);
    LookAtDescriptors(process, wanted, found);
  }
  for (auto& [inode, listener] : wanted.sockets) found.listeners.push_back(std::move(listener));
  return found;
}

std::optional<bool> HasOwnNamespace(pid_t pid, const char* kind) {
  const std::string theirs = Link("/proc/" + std::to_string(pid) + "/ns/" + kind);
  if (theirs.empty()) return std::nullopt;
  return theirs != Link(std::string("/proc/self/ns/") + kind);
}

}  // namespace kor::ctl::doctor
