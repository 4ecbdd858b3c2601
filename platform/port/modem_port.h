// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <string>

#include "common/event_dic.h"
#include "common/export.h"
#include "common/ip_family.h"
#include "common/result.h"
#include "wwan/at_manager.h"
#include "wwan/data_manager.h"
#include "wwan/network_manager.h"
#include "wwan/sms_manager.h"

namespace kor::modem {

// What happened to a call.
enum class CallEvent { kConnected, kConnectFailed, kDisconnected, kDisconnectFailed };

struct CallRequest {
  int32_t handle = 0;
  kor::util::IPFamily family = kor::util::IPFamily::kIpv4;  // kIpv4 or kIpv6.
  int profile = 0;                                          // Profile number (cid) to connect with.
  uint64_t serial = 0;  // The request's own number, from 1 on: higher than that of every start and stop before it.
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
  // `serial`: that of the latest request for this call that the modem had taken when the event happened. A report may
  // come late: what happened before a newer request does not undo that one.
  using CallReport = std::function<void(int32_t handle, kor::util::IPFamily family, CallEvent event, uint64_t serial)>;
  using EventReport = std::function<void(kor::util::EventDic& ev)>;
  template <typename Record>
  using Answer = std::function<void(Record& record)>;
  using AtReport = std::function<void(kor::wwan::AtManager::Command& command)>;

  // The process's modem, opened by the first call: the backend that the environment's KWWAN_MODEM names, as NAME or
  // NAME:ARGUMENT, from the library libkwwan_modem_NAME.so.0 beside this one. Throws std::exception with a sentence for
  // people when there is none; the next call tries again.
  static ModemPort& Get();

  // Asked before every vendor operation, with its name and arguments as text ("ConnectBackhaul 0 4"). Anything but
  // kSuccess: the modem does not take the operation, which ends with that code. For the fetching of a client the name
  // is "CLIENT.GetInstance", as in "QcmapWrapper.GetInstance".
  virtual kor::Result Admit(const std::string& operation) = 0;

  // Who is told of calls; set once, by the owner of the policy table, before the first call is started.
  virtual void SetCallReport(CallReport report) = 0;

  // kSuccess: accepted, a report follows. Starting a call that is up or coming up is accepted and reported again when
  // it is up. kFailure: refused; a call that is going down is, until it is down. One report may answer several starts.
  virtual kor::Result StartCall(const CallRequest& request) = 0;

  // kSuccess: accepted, a report follows. A call that is still coming up is given up: kConnectFailed, then
  // kDisconnected. Stopping a call that is down is accepted and reported again. `serial`: as in CallRequest.
  virtual kor::Result StopCall(int32_t handle, kor::util::IPFamily family, uint64_t serial) = 0;

  // kSuccess with `config` filled; kNotReady while the call is up and its configuration incomplete; kFailure when it is
  // not up. A call answers before its interface appears, and no longer when its interface goes.
  virtual kor::Result GetCallConfig(int32_t handle, kor::util::IPFamily family, CallConfig& config) = 0;

  // Whether the modem is registered in a visited network.
  virtual bool IsRoaming() = 0;

  virtual kor::Result GetProfile(kor::wwan::DataManager::ProfileType type, int index,
                                 kor::wwan::DataManager::ProfileSetting& setting) = 0;
  virtual kor::Result GetProfiles(std::list<kor::wwan::DataManager::ProfileInfo>& profiles) = 0;

  // Who is told of the AT commands that are forwarded; set once, before the first names are registered.
  virtual void SetAtReport(AtReport report) = 0;

  // Commands of these names, typed in either case, are forwarded from now on. For good: there is no way to give a name
  // back. kSuccess: all of them; otherwise none.
  virtual kor::Result RegisterAtNames(const std::list<std::string>& names) = 0;

  // Answers a forwarded command, known by its client_ref and client_data. `text`: what the terminal shows before the
  // final result "OK" or, on failure, in the place of "ERROR"; lines end with a line feed. kFailure when nobody waits
  // for the answer (any more).
  virtual kor::Result AnswerAtCommand(const kor::wwan::AtManager::Command& command, bool ok,
                                      const std::string& text) = 0;

  // Shows an unsolicited text on all terminals.
  virtual kor::Result ShowAtText(const std::string& text) = 0;

  // The application side is ready.
  virtual kor::Result SetSoftwareReady() = 0;

  // The modem's model, for people.
  virtual kor::Result GetModelId(std::string& model_id) = 0;

  // The SIM cards and their PINs, as DmsQmiClient and UimQmiClient have them.
  virtual kor::Result SetPinLock(int pin_id, bool enable, const std::string& pin) = 0;
  virtual kor::Result ChangePin(int pin_id, const std::string& old_pin, const std::string& new_pin) = 0;
  virtual kor::Result GetPinStatus() = 0;
  virtual kor::Result SetSimPower(int slot, bool on) = 0;

  // Who is told of short messages; set once.
  virtual void SetSmsReport(EventReport report) = 0;
  // As WmsQmiClient has them.
  virtual kor::Result GetSmsRoutes(std::list<kor::wwan::SmsManager::RouteInfo>& routes) = 0;
  virtual kor::Result SetSmsRoutes(const std::list<kor::wwan::SmsManager::RouteInfo>& routes) = 0;
  virtual kor::Result ModifySmsTags() = 0;

  // Who is told of changes of registration, technology and signal; set once.
  virtual void SetRadioReport(EventReport report) = 0;
  // kSuccess: taken; `answer` is called once, as a report is.
  virtual kor::Result StartScan(Answer<kor::wwan::NetworkManager::ScanResult> answer) = 0;
  virtual kor::Result GetSignalInfo(Answer<kor::wwan::NetworkManager::SignalInfo> answer) = 0;
  virtual kor::Result GetErrorRate(Answer<kor::wwan::NetworkManager::ErrorRate> answer) = 0;
  virtual kor::Result GetCellLocation(Answer<kor::wwan::NetworkManager::CellLocationInfo> answer) = 0;
  virtual kor::Result GetSystemInfo(Answer<kor::wwan::NetworkManager::SystemInfo> answer) = 0;

 protected:
  ~ModemPort() = default;
};

}  // namespace kor::modem
