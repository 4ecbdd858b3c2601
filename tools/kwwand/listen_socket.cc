// SPDX-License-Identifier: Apache-2.0
#include "kwwand/listen_socket.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <filesystem>
#include <stdexcept>

namespace kor::host {

namespace {

constexpr int kBacklog = 128;
constexpr mode_t kLockMode = 0644;

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

// The process that holds the lock, as it wrote it there.
std::string HolderOf(int fd) {
  char text[16] = {};
  const ssize_t n = pread(fd, text, sizeof(text) - 1, 0);
  return n > 0 ? " (process " + std::string(text, static_cast<size_t>(n)) + ")" : "";
}

// Whether the file that was locked is still the one at the path: its last owner may just have taken it away.
bool IsAt(int fd, const std::string& path) {
  struct stat locked {};
  struct stat there {};
  return fstat(fd, &locked) == 0 && stat(path.c_str(), &there) == 0 && locked.st_dev == there.st_dev &&
         locked.st_ino == there.st_ino;
}

Fd Lock(const std::string& lock_path, const std::string& path) {
  for (;;) {
    Fd fd(open(lock_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kLockMode));
    if (!fd.is_open()) throw SystemError(lock_path);
    // Of the process: a child that a killed host was about to start does not hold it, as it would a flock().
    struct flock whole {};
    whole.l_type = F_WRLCK;
    if (fcntl(fd.get(), F_SETLK, &whole) != 0) {
      if (errno != EACCES && errno != EAGAIN) throw SystemError(lock_path);
      throw std::runtime_error("another kwwand" + HolderOf(fd.get()) + " serves " + path +
                               "; stop it first, or give this one its own --socket");
    }
    if (!IsAt(fd.get(), lock_path)) continue;
    const std::string pid = std::to_string(getpid());
    if (ftruncate(fd.get(), 0) == 0 && pwrite(fd.get(), pid.data(), pid.size(), 0) >= 0) return fd;
    const std::system_error error = SystemError(lock_path);
    unlink(lock_path.c_str());  // While it is held: see IsAt().
    throw error;
  }
}

// Whether somebody serves the socket. What a dead host was about to start may hold its socket for a moment more.
bool IsServed(const std::string& path) {
  const sockaddr_un address = AddressOf(path);
  const Fd probe(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) return false;
  ucred server{};
  socklen_t size = sizeof(server);
  if (getsockopt(probe.get(), SOL_SOCKET, SO_PEERCRED, &server, &size) != 0 || server.pid == 0) return true;
  return kill(server.pid, 0) == 0 || errno != ESRCH;
}

// Removes the socket of a dead host, and nothing else.
void ClearPath(const std::string& path) {
  struct stat there {};
  if (lstat(path.c_str(), &there) != 0) return;
  if (!S_ISSOCK(there.st_mode)) throw std::runtime_error(path + " is there and is no socket; it is left alone");
  if (IsServed(path)) throw std::runtime_error("another program serves " + path);
  if (unlink(path.c_str()) != 0) throw SystemError(path);
}

Fd Bind(const std::string& path) {
  const sockaddr_un address = AddressOf(path);
  Fd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!fd.is_open()) throw SystemError("socket");
  if (bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) throw SystemError(path);
  return fd;
}

// Nobody can connect before listen(): by then mode and group are right.
void Listen(int fd, const std::string& path, mode_t mode, std::optional<gid_t> group) {
  if (group && chown(path.c_str(), static_cast<uid_t>(-1), *group) != 0) throw SystemError(path + ": its group");
  if (chmod(path.c_str(), mode) != 0) throw SystemError(path + ": its mode");
  if (listen(fd, kBacklog) != 0) throw SystemError(path);
}

}  // namespace

ListenSocket::ListenSocket(const std::string& path, mode_t mode, std::optional<gid_t> group)
    : path_(path), lock_path_(path + ".lock") {
  (void)AddressOf(path);
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  lock_ = Lock(lock_path_, path);
  try {
    ClearPath(path);
    socket_ = Bind(path);
    Listen(fd(), path, mode, group);
  } catch (...) {
    Release();
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
  if (!lock_.is_open()) return;
  unlink(lock_path_.c_str());  // While it is held: see IsAt().
  lock_.Close();
}

}  // namespace kor::host
