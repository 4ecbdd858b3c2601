// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <string>

#include "common/export.h"
#include "common/ip_family.h"
#include "common/result.h"
#include "wwan/data_manager.h"

namespace kor::modem {

// What happened to a call.
enum class CallEvent { kConnected, kConnectFailed, kDisconnected, kDisconnectFailed };

struct CallRequest {
  int32_t handle = 0;
  kor::util::IPFamily family = kor::util::IPFamily::kIpv4;  // kIpv4 or kIpv6.
  int profile = 0;                                          // Profile number (cid) to connect with.
};

// What the network assigned to a call, as it came: a network may send a text that is no address, so whoever hands it on
// looks at it first.
struct CallConfig {
  std::string address;
  std::string dns_1;  // Empty when the network gave none.
  std::string dns_2;
};

// The one door between the vendor clients and a modem. A backend (the simulated modem, or real hardware) implements it;
// nothing above it knows which one.
//
// Thread safety: all operations may be called from any thread, also from inside a report. They hand a request over and
// return; none waits for the network, and none calls back from inside. Reports come on the backend's event thread, one
// at a time, with no lock of the backend held; a report must not throw.
//
// Ownership: the modem lives until the process ends and is never destroyed, so exit() may find its thread at work.
class KOR_EXPORT ModemPort {
 public:
  using CallReport = std::function<void(int32_t handle, kor::util::IPFamily family, CallEvent event)>;

  // The process's modem, created by the first call. Throws std::system_error when it cannot start its thread.
  static ModemPort& Get();

  // Asked before every vendor operation, with its name and arguments as text ("ConnectBackhaul 0 4"). Anything but
  // kSuccess: the modem does not take the operation, which ends with that code. For the fetching of a client the name
  // is "CLIENT.GetInstance", as in "QcmapWrapper.GetInstance".
  virtual kor::Result Admit(const std::string& operation) = 0;

  // Who is told of calls; set once, by the owner of the policy table, before the first call is started.
  virtual void SetCallReport(CallReport report) = 0;

  // kSuccess: accepted, a report follows. Starting a call that is up or coming up is accepted and reported again when
  // it is up. kFailure: refused; a call that is going down is, until it is down.
  virtual kor::Result StartCall(const CallRequest& request) = 0;

  // kSuccess: accepted, a report follows. A call that is still coming up is given up: kConnectFailed, then
  // kDisconnected. Stopping a call that is down is accepted and reported again.
  virtual kor::Result StopCall(int32_t handle, kor::util::IPFamily family) = 0;

  // kSuccess with `config` filled; kNotReady while the call is up and its configuration incomplete; kFailure when it is
  // not up. A call answers before its interface appears, and no longer when its interface goes.
  virtual kor::Result GetCallConfig(int32_t handle, kor::util::IPFamily family, CallConfig& config) = 0;

  // Whether the modem is registered in a visited network.
  virtual bool IsRoaming() = 0;

  virtual kor::Result GetProfile(kor::wwan::DataManager::ProfileType type, int index,
                                 kor::wwan::DataManager::ProfileSetting& setting) = 0;
  virtual kor::Result GetProfiles(std::list<kor::wwan::DataManager::ProfileInfo>& profiles) = 0;

 protected:
  ~ModemPort() = default;
};

}  // namespace kor::modem
