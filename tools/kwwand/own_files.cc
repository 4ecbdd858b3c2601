// SPDX-License-Identifier: Apache-2.0
#include "kwwand/own_files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <stdexcept>

namespace kor::host {

namespace {

constexpr mode_t kLockMode = 0600;
constexpr mode_t kPidMode = 0644;
constexpr mode_t kFolderMode = 0755;

bool IsOpenToOthers(const struct stat& folder) {
  return (folder.st_mode & (S_IWGRP | S_IWOTH)) != 0 && (folder.st_mode & S_ISVTX) == 0;
}

// Opens the file, or makes it; either way it has the mode. What is not ours stays as it is: a link may lead to any
// file, another user's file says what he wants, a pipe waits for its other end. Throws std::runtime_error.
Fd OpenOwnFile(const std::string& path, mode_t mode) {
  Fd fd(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, mode));
  if (!fd.is_open() && errno == ELOOP) throw std::runtime_error(path + " is a symbolic link; it is not followed");
  if (!fd.is_open()) throw kor::tools::SystemError(path);
  struct stat file {};
  if (fstat(fd.get(), &file) != 0) throw kor::tools::SystemError(path);
  if (!S_ISREG(file.st_mode)) throw std::runtime_error(path + " exists and is not a regular file; it is left alone");
  if (file.st_uid != geteuid() || file.st_nlink > 1) {
    throw std::runtime_error(path + " exists and is not this user's alone; it is left alone");
  }
  if (fchmod(fd.get(), mode) != 0) throw kor::tools::SystemError(path);
  return fd;
}

struct flock WholeFile() {
  struct flock whole {};
  whole.l_type = F_WRLCK;
  return whole;
}

std::string HolderOf(int fd) {
  struct flock held = WholeFile();
  const bool is_known = fcntl(fd, F_GETLK, &held) == 0 && held.l_type != F_UNLCK && held.l_pid > 0;
  return is_known ? " (process " + std::to_string(held.l_pid) + ")" : "";
}

// Whether the file that was locked is still the one at the path: its last owner may just have taken it away.
bool IsAt(int fd, const std::string& path) {
  struct stat locked {};
  struct stat there {};
  return fstat(fd, &locked) == 0 && lstat(path.c_str(), &there) == 0 && locked.st_dev == there.st_dev &&
         locked.st_ino == there.st_ino;
}

Fd Lock(const std::string& path, const std::string& holding) {
  for (;;) {
    Fd fd = OpenOwnFile(path, kLockMode);
    // Of the process: a child that a killed host was about to start does not hold it, as it would a flock().
    struct flock whole = WholeFile();
    if (fcntl(fd.get(), F_SETLK, &whole) != 0) {
      if (errno != EACCES && errno != EAGAIN) throw kor::tools::SystemError(path);
      throw std::runtime_error("another kwwand" + HolderOf(fd.get()) + " " + holding);
    }
    if (IsAt(fd.get(), path)) return fd;
  }
}

}  // namespace

void CheckFolder(const std::string& folder) {
  struct stat there {};
  if (stat(folder.c_str(), &there) != 0) throw kor::tools::SystemError(folder);
  const bool is_ours = there.st_uid == 0 || there.st_uid == geteuid();
  const bool is_open = IsOpenToOthers(there);
  if (is_ours && !is_open) return;
  throw std::runtime_error(folder + (is_ours ? " can be written by others" : " belongs to another user") +
                           ", who could replace the host's files");
}

void CloseFolder(const std::string& folder) {
  const Fd fd(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  struct stat there {};
  if (!fd.is_open() || fstat(fd.get(), &there) != 0) throw kor::tools::SystemError(folder);
  const bool is_mine = there.st_uid == geteuid();
  if (is_mine && IsOpenToOthers(there) && fchmod(fd.get(), kFolderMode) != 0) throw kor::tools::SystemError(folder);
  CheckFolder(folder);
}

LockFile::LockFile(const std::string& path, const std::string& holding) : path_(path), fd_(Lock(path, holding)) {}

void LockFile::Release() {
  if (!fd_.is_open()) return;
  unlink(path_.c_str());  // While it is held: see IsAt().
  fd_.Close();
}

PidFile::PidFile(const std::string& path) {
  if (path.empty()) return;
  const Fd fd = OpenOwnFile(path, kPidMode);
  path_ = path;
  const std::string text = std::to_string(getpid()) + "\n";
  if (ftruncate(fd.get(), 0) == 0 && write(fd.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size())) {
    return;
  }
  const std::system_error error = kor::tools::SystemError(path);
  Remove();
  throw error;
}

void PidFile::Remove() {
  if (!path_.empty()) unlink(path_.c_str());
  path_.clear();
}

}  // namespace kor::host
