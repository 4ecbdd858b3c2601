// SPDX-License-Identifier: Apache-2.0
#include "kwwand/host/lan_journal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>

#include <cstdio>
#include <stdexcept>

#include "common/result.h"
#include "shared/dns_files.h"
#include "shared/fd.h"

namespace kor::host {

namespace {

constexpr mode_t kMode = 0644;

// What LanJson() has made. Throws Json::exception, and RequestError when it is no LAN that can be set.
LanConfig Parse(const std::string& text) {
  const Json json = Json::parse(text);
  const LanConfig lan{true,           json.at("gateway"), json.at("netmask"), json.at("dhcp"), json.at("start"),
                      json.at("end"), json.at("lease_s")};
  return Changed(lan, {});
}

// A file of our own, whatever stands there. True, or errno says why not.
bool WriteFile(const std::string& path, const std::string& text) {
  unlink(path.c_str());
  const Fd fd(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kMode));
  if (!fd.is_open()) return false;
  errno = ENOSPC;  // Of a write that takes a part only.
  return write(fd.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

}  // namespace

void LanJournal::Keep(const LanConfig& before) {
  if (path_.empty()) return;
  const std::string fresh = path_ + ".new";
  if (WriteFile(fresh, LanJson(before).dump() + '\n') && rename(fresh.c_str(), path_.c_str()) == 0) return;
  const std::string why = SystemError(path_).what();
  unlink(fresh.c_str());
  throw RequestError(static_cast<int>(kor::Result::kFailure),
                     "what is there now cannot be kept to come back to, the LAN is as before: " + why);
}

bool LanJournal::Forget() {
  if (path_.empty() || unlink(path_.c_str()) == 0 || errno == ENOENT) return true;
  syslog(LOG_ERR, "%s: %m\n", path_.c_str());
  return false;
}

std::optional<LanConfig> LanJournal::Kept() const {
  struct stat file {};
  if (path_.empty() || lstat(path_.c_str(), &file) != 0) return std::nullopt;
  try {
    if (file.st_uid != geteuid()) throw std::runtime_error("it is another user's");
    return Parse(kor::tools::ReadTextFile(path_).text.value_or(""));
  } catch (const std::exception& e) {
    syslog(LOG_ERR, "%s, an unconfirmed change of the LAN, is not taken back: %s\n", path_.c_str(), e.what());
    return std::nullopt;
  }
}

}  // namespace kor::host
