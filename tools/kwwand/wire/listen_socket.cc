// SPDX-License-Identifier: Apache-2.0
#include "kwwand/wire/listen_socket.h"

#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <filesystem>
#include <stdexcept>

namespace kor::host {

namespace {

constexpr int kBacklog = 128;

sockaddr_un AddressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) {
    throw std::runtime_error(path + ": a socket's path takes at most " + std::to_string(sizeof(address.sun_path) - 1) +
                             " bytes");
  }
  path.copy(address.sun_path, path.size());
  return address;
}

// Whether somebody serves the socket. What a dead host was about to start may hold its socket for a moment more. One
// whose queue is full, so that a connect would wait for it, does.
bool IsServed(const std::string& path) {
  const sockaddr_un address = AddressOf(path);
  const Fd probe(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) return errno == EAGAIN;
  ucred server{};
  socklen_t size = sizeof(server);
  if (getsockopt(probe.get(), SOL_SOCKET, SO_PEERCRED, &server, &size) != 0 || server.pid == 0) return true;
  return kill(server.pid, 0) == 0 || errno != ESRCH;
}

// Removes the socket of a dead host, and nothing else.
void ClearPath(const std::string& path) {
  struct stat there {};
  if (lstat(path.c_str(), &there) != 0) return;
  if (!S_ISSOCK(there.st_mode)) throw std::runtime_error(path + " exists and is not a socket; it is left alone");
  if (IsServed(path)) throw std::runtime_error("another program serves " + path);
  if (unlink(path.c_str()) != 0) throw kor::tools::SystemError(path);
}

Fd Bind(const std::string& path) {
  const sockaddr_un address = AddressOf(path);
  Fd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!fd.is_open()) throw kor::tools::SystemError("socket");
  if (bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
    throw kor::tools::SystemError(path);
  return fd;
}

// The path, once its folder is there and fit to hold it.
const std::string& Prepared(const std::string& path) {
  (void)AddressOf(path);
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  std::filesystem::create_directories(folder);
  CheckFolder(folder);
  return path;
}

// Nobody can connect before listen(): by then mode and group are right.
void Listen(int fd, const std::string& path, mode_t mode, std::optional<gid_t> group) {
  if (group && chown(path.c_str(), static_cast<uid_t>(-1), *group) != 0)
    throw kor::tools::SystemError(path + ": its group");
  if (chmod(path.c_str(), mode) != 0) throw kor::tools::SystemError(path + ": its mode");
  if (listen(fd, kBacklog) != 0) throw kor::tools::SystemError(path);
}

}  // namespace

ListenSocket::ListenSocket(const std::string& path, mode_t mode, std::optional<gid_t> group)
    : path_(Prepared(path)),
      lock_(path + ".lock", "serves " + path + "; stop it first, or give this one its own --socket") {
  try {
    ClearPath(path);
    socket_ = Bind(path);
    Listen(fd(), path, mode, group);
  } catch (...) {
    Close();
    throw;
  }
}

void ListenSocket::Close() {
  if (!socket_.is_open()) return;
  unlink(path_.c_str());
  socket_.Close();
}

void ListenSocket::Release() {
  Close();
  lock_.Release();
}

}  // namespace kor::host
