// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>

#include "common/ip_family.h"
#include "common/mutex.h"
#include "port/lock_ranks.h"

namespace kor::modem {

// The network interfaces of the calls: veth pairs rmnet_dataN - carrierN, made with `ip`.
//
// Where they cannot be made (no CAP_NET_ADMIN, no `ip`, no such namespace) one warning says so and calls have events
// only; the next call tries again.
//
// Thread safety: the settings may be changed and asked from any thread; everything else belongs to the event thread.
class Links {
 public:
  // Whether links that come up from now on get interfaces.
  void SetEnabled(bool enabled) KOR_EXCLUDES(mutex_);

  // The network namespace of the far ends of links made from now on; empty: our own. False, and nothing changes, when
  // `path` is neither empty nor an absolute path of printable characters without blanks, quotes, '\' and '#'.
  bool SetCarrier(const std::string& path) KOR_EXCLUDES(mutex_);

  // The name of a call's interface, "rmnet_data0"; empty while calls get none.
  std::string NameOf(int number) KOR_EXCLUDES(mutex_);

  // Whether an interface rmnet_dataN exists that is not of our making, such as a real modem's. A veth pair of that name
  // is a leftover of an earlier process.
  static bool IsForeign(int number);

  // Brings one family up on link `number`, or down; the interface exists while one of them is up.
  void Up(int number, kor::util::IPFamily family) KOR_EXCLUDES(mutex_);
  void Down(int number, kor::util::IPFamily family) KOR_EXCLUDES(mutex_);

 private:
  struct Link {
    bool ipv4 = false;
    bool ipv6 = false;
    std::string carrier;  // Where its far end lives.
  };

  static std::string Create(int number, kor::util::IPFamily family, const std::string& carrier);
  static std::string Extend(int number, kor::util::IPFamily family, const std::string& carrier);
  static void Shrink(int number, kor::util::IPFamily family, const std::string& carrier);
  void WarnOnce(const std::string& reason) KOR_EXCLUDES(mutex_);

  std::map<int, Link> links_;  // The interfaces that exist, by number; the event thread's.

  kor::util::Mutex mutex_{rank::kModemQueue};
  bool enabled_ KOR_GUARDED_BY(mutex_) = true;
  std::string carrier_ KOR_GUARDED_BY(mutex_);
  bool warned_ KOR_GUARDED_BY(mutex_) = false;  // Until links work or are switched again.
};

}  // namespace kor::modem
