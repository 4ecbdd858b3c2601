// SPDX-License-Identifier: Apache-2.0
#include "router/state_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace kor::vendor::qcom::qcmap {

namespace {

constexpr size_t kMaxSize = 4 << 20;  // All policies and VLANs that there can be take half of it.
constexpr mode_t kMode = 0644;
constexpr mode_t kLockMode = 0600;  // Whoever opens it can hold up all that write.

[[noreturn]] void Throw(const std::string& what) { throw std::system_error(errno, std::generic_category(), what); }

// An open file. Closed here without a look: what must be on the disk was flushed before.
class Opened {
 public:
  Opened(const std::string& path, int flags, mode_t mode = kMode)
      : path_(path), fd_(open(path.c_str(), flags | O_CLOEXEC, mode)) {
    if (fd_ < 0) Throw("opening " + path);
  }
  ~Opened() { close(fd_); }
  Opened(const Opened&) = delete;
  Opened& operator=(const Opened&) = delete;

  int fd() const { return fd_; }

  // Until this is closed. A holder only writes and goes.
  void Lock() const {
    while (flock(fd_, LOCK_EX) != 0) {
      if (errno != EINTR) Throw("locking " + path_);
    }
  }
  void Write(const std::string& text) const {
    for (size_t done = 0; done < text.size();) {
      const ssize_t count = write(fd_, text.data() + done, text.size() - done);
      if (count < 0 && errno != EINTR) Throw("writing " + path_);
      if (count > 0) done += static_cast<size_t>(count);
    }
  }
  void Flush() const {
    if (fsync(fd_) != 0) Throw("flushing " + path_);
  }

 private:
  const std::string path_;
  const int fd_;
};

std::filesystem::path FolderOf(const std::string& path) { return std::filesystem::path(path).parent_path(); }

}  // namespace

StateFile::StateFile(std::string path) : path_(std::move(path)) {}

std::optional<std::string> StateFile::Read() const {
  struct stat state {};
  if (lstat(path_.c_str(), &state) != 0 && errno == ENOENT) return std::nullopt;
  const Opened file(path_, O_RDONLY | O_NONBLOCK);  // A pipe in its place is not waited for.
  if (fstat(file.fd(), &state) != 0 || !S_ISREG(state.st_mode)) throw std::runtime_error("it is no file");
  std::string text(kMaxSize, '\0');
  size_t size = 0;
  for (ssize_t count = 1; count != 0 && size < text.size();) {
    count = read(file.fd(), text.data() + size, text.size() - size);
    if (count < 0 && errno != EINTR) Throw("reading " + path_);
    if (count > 0) size += static_cast<size_t>(count);
  }
  if (size == text.size()) throw std::runtime_error("it is too large");
  text.resize(size);
  return text;
}

void StateFile::Write(const std::string& text) const {
  const auto folder_path = FolderOf(path_);
  if (std::filesystem::create_directories(folder_path)) Opened(folder_path.parent_path(), O_DIRECTORY).Flush();
  const Opened folder(folder_path, O_DIRECTORY);
  const Opened lock(path_ + ".lock", O_WRONLY | O_CREAT, kLockMode);
  lock.Lock();  // Another process writes the same new file.
  const std::string fresh = path_ + ".new";
  try {
    const Opened file(fresh, O_WRONLY | O_CREAT | O_TRUNC);
    file.Write(text);
    file.Flush();
    if (rename(fresh.c_str(), path_.c_str()) != 0) Throw("renaming " + fresh);
  } catch (const std::system_error&) {
    unlink(fresh.c_str());
    throw;
  }
  folder.Flush();
}

std::string StateFile::KeepAside() const {
  std::string aside = path_ + ".bad";
  if (rename(path_.c_str(), aside.c_str()) != 0) Throw("renaming " + path_);
  return aside;
}

}  // namespace kor::vendor::qcom::qcmap
