// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
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

// Whether there is a modem that takes requests.
enum class ModemState {
  kAbsent,    // Not seen yet.
  kStarting,  // There, and not ready for requests.
  kReady,
  kGone,  // It was there: unplugged, or it starts anew.
};

// What happened to a call.
enum class CallEvent { kConnected, kConnectFailed, kDisconnected, kDisconnectFailed };

// Why a call ended, or a request failed.
struct CallEnd {
  int32_t code = 0;  // Session management cause of 3GPP TS 24.008 10.5.6.6; 0 when the network gave none.
  std::string text;  // For people; empty when nothing ended.
};

struct CallRequest {
  int32_t handle = 0;
  kor::util::IPFamily family = kor::util::IPFamily::kIpv4;  // kIpv4 or kIpv6.
  int profile = 0;                                          // Profile number (cid) to connect with.
  uint64_t serial = 0;  // The request's own number, from 1 on: higher than that of every start and stop before it.
  kor::wwan::Tech tech = kor::wwan::Tech::kAny;  // Radio technology that the policy wants.
};

struct CallReport {
  int32_t handle = 0;
  kor::util::IPFamily family = kor::util::IPFamily::kIpv4;
  CallEvent event = CallEvent::kConnected;
  // That of the latest request for this call that the modem had taken when the event happened, 0 when this process made
  // none. A report may come late: what happened before a newer request does not undo that one.
  uint64_t serial = 0;
  CallEnd end;
};

// What the network assigned to a call, as it came: a network may send a text that is no address, so whoever hands it on
// looks at it first.
struct CallConfig {
  std::string address;
  int prefix_length = 0;
  std::string gateway;
  int mtu = 0;        // 0 when the network gave none.
  std::string dns_1;  // Empty when the network gave none.
  std::string dns_2;
  std::string interface;  // "rmnet_data0"; empty when the call has none.
};

// A call that is up.
struct RunningCall {
  // As in CallRequest, for calls that this process started. A call that was up before may have lost it (the modem knows
  // calls by numbers of its own): 0 then, and its policy is known by family and profile. Whoever takes such a call over
  // asks for it with StartCall, which is answered as for any call that is up, and gives it its handle.
  int32_t handle = 0;
  kor::util::IPFamily family = kor::util::IPFamily::kIpv4;
  int profile = 0;
  CallConfig config;
};

struct PinStatus {
  kor::Result state = kor::Result::kFailure;  // One of kor::wwan::DeviceManager's kPin codes.
  int tries_left = 0;
  int puk_tries_left = 0;
};

// The one door between the vendor clients and a modem. A backend (the simulated modem, or real hardware) implements it;
// nothing above it knows which one.
//
// Threads. Operations may be called from any thread, and are of two kinds:
//   hand-over   the request is handed to the modem and the call returns; it waits for nothing and may be made from
//               inside a report. What comes of it is reported, or answered, later.
//   round trip  the call waits for the modem's answer, for kRoundTripLimit at the longest: kTimeout then. Not to be
//               made from inside a report, which it would hold up, nor with a lock held that a report takes.
// Neither calls back from inside. While the state is not kReady all of them end with kNotReady at once, those that wait
// for an answer too.
//
// Reports and answers come on one thread of the backend, which is not the one that reads from the modem, one at a time,
// with no lock of the backend held. They must not throw.
//
// Links. The backend makes a call's interface, and sets it up, in this order: GetCallConfig answers; the interface
// rmnet_dataN appears, with its address, MTU and default route, and is up; the call is reported as connected. Down: no
// configuration, no interface, the report.
//
// Ownership: the modem lives until the process ends and is never destroyed, so exit() may find its threads at work.
class KOR_EXPORT ModemPort {
 public:
  // The longest that a round trip takes. Answers have their own: kScanLimit for a scan, this one for the other queries.
  static constexpr std::chrono::seconds kRoundTripLimit{10};
  static constexpr std::chrono::seconds kScanLimit{300};

  using StateReport = std::function<void(ModemState state)>;
  using CallReporter = std::function<void(const CallReport& report)>;
  using EventReport = std::function<void(kor::util::EventDic& ev)>;
  template <typename Record>
  using Answer = std::function<void(Record& record)>;
  using AtReport = std::function<void(kor::wwan::AtManager::Command& command)>;

  // The process's modem, opened by the first call: the backend that the environment's KWWAN_MODEM names, as NAME or
  // NAME:ARGUMENT, from the library libkwwan_modem_NAME.so.0 beside this one. Throws std::exception with a sentence for
  // people when there is none; the next call tries again.
  static ModemPort& Get();

  // -- The modem itself. It may come and go --------------------------------------------------------------------------

  // Hand-over, as is AddStateReport.
  virtual ModemState State() = 0;

  // One more who is told of each state from now on, for good. When the modem goes, State() says so first; then every
  // call that is up or coming up is reported as ended, and every query answered; then this. A modem that comes back has
  // forgotten the AT names and that the software is ready: the clients tell it again. PINs are wanted again. Calls that
  // are wanted are started again by whoever wants them; GetCalls says which are up nevertheless.
  virtual void AddStateReport(StateReport report) = 0;

  // The model, for people. A round trip.
  virtual kor::Result GetModelId(std::string& model_id) = 0;

  // The application side is ready. A round trip.
  virtual kor::Result SetSoftwareReady() = 0;

  // -- Calls ---------------------------------------------------------------------------------------------------------

  // Who is told of calls; set once, by the owner of the policies, before the first call is started.
  virtual void SetCallReport(CallReporter report) = 0;

  // Hand-over. kSuccess: accepted, a report follows. Starting a call that is up or coming up is accepted and reported
  // again when it is up. kFailure: refused; a call that is going down is, until it is down. One report may answer
  // several starts.
  virtual kor::Result StartCall(const CallRequest& request) = 0;

  // Hand-over. kSuccess: accepted, a report follows. A call that is still coming up is given up: kConnectFailed, then
  // kDisconnected. Stopping a call that is down is accepted and reported again. `serial`: as in CallRequest.
  virtual kor::Result StopCall(int32_t handle, kor::util::IPFamily family, uint64_t serial) = 0;

  // The calls that are up, those among them that were up before this process began. A round trip.
  virtual kor::Result GetCalls(std::list<RunningCall>& calls) = 0;

  // kSuccess with `config` filled; kNotReady while the call is up and its configuration incomplete; kFailure when it is
  // not up. A round trip.
  virtual kor::Result GetCallConfig(int32_t handle, kor::util::IPFamily family, CallConfig& config) = 0;

  // Whether the modem is registered in a visited network, as it last told: no round trip.
  virtual bool IsRoaming() = 0;

  // Round trips. kFailure when there is no such profile; `setting` is untouched then.
  virtual kor::Result GetProfile(kor::wwan::DataManager::ProfileType type, int index,
                                 kor::wwan::DataManager::ProfileSetting& setting) = 0;
  virtual kor::Result GetProfiles(std::list<kor::wwan::DataManager::ProfileInfo>& profiles) = 0;

  // -- AT commands ---------------------------------------------------------------------------------------------------

  // Who is told of the AT commands that are forwarded; set once, before the first names are registered.
  virtual void SetAtReport(AtReport report) = 0;

  // Commands of these names, typed in either case, are forwarded from now on, until the modem goes: there is no way to
  // give a name back. kSuccess: all of them are. Anything else: the caller takes none for registered, and asks again
  // for all of them. A modem that takes names one by one stops at the first that it refuses and keeps those before it;
  // asked again for a name that it has, it says kSuccess. A round trip, one for the whole list.
  virtual kor::Result RegisterAtNames(const std::list<std::string>& names) = 0;

  // Answers a forwarded command, known by its client_ref and client_data. `text`: what the terminal shows before the
  // final result "OK" or, on failure, in the place of "ERROR"; lines end with a line feed. kFailure when nobody waits
  // for the answer (any more). A round trip.
  virtual kor::Result AnswerAtCommand(const kor::wwan::AtManager::Command& command, bool ok,
                                      const std::string& text) = 0;

  // Shows an unsolicited text on all terminals. A round trip.
  virtual kor::Result ShowAtText(const std::string& text) = 0;

  // -- The SIM cards and their PINs. Round trips; results as kor::wwan::DeviceManager has them ------------------------

  // `pin_id`: 1 or 2, of the card in slot 1.
  virtual kor::Result SetPinLock(int pin_id, bool enable, const std::string& pin) = 0;
  virtual kor::Result ChangePin(int pin_id, const std::string& old_pin, const std::string& new_pin) = 0;
  virtual kor::Result VerifyPin(int pin_id, const std::string& pin) = 0;
  virtual kor::Result UnblockPin(int pin_id, const std::string& puk, const std::string& new_pin) = 0;

  // `slot`: from 1 on. kSuccess with `status` filled, or kSimNotReady.
  virtual kor::Result GetPinStatus(int slot, int pin_id, PinStatus& status) = 0;
  virtual kor::Result SetSimPower(int slot, bool on) = 0;

  // -- Short messages ------------------------------------------------------------------------------------------------

  // Who is told of short messages; set once. Events and parameters: common/modem_events.h.
  virtual void SetSmsReport(EventReport report) = 0;

  // Round trips, as WmsQmiClient has them.
  virtual kor::Result GetSmsRoutes(std::list<kor::wwan::SmsManager::RouteInfo>& routes) = 0;
  virtual kor::Result SetSmsRoutes(const std::list<kor::wwan::SmsManager::RouteInfo>& routes) = 0;

  // Hand-over; an event follows.
  virtual kor::Result ModifySmsTags() = 0;

  // Hand-over. Tells the network that the message which came with this kParamSmsAck has been taken; one that is not
  // acknowledged comes again. kFailure when none waits for it.
  virtual kor::Result AcknowledgeSms(uint32_t id) = 0;

  // -- The radio. Queries are handed over. kSuccess: taken, and `answer` is called once; with `result` kTimeout in it
  //    when the modem did not answer within its limit, kNotReady when it went --------------------------------------

  // Who is told of changes of registration, technology and signal; set once.
  virtual void SetRadioReport(EventReport report) = 0;
  virtual kor::Result StartScan(Answer<kor::wwan::NetworkManager::ScanResult> answer) = 0;
  virtual kor::Result GetSignalInfo(Answer<kor::wwan::NetworkManager::SignalInfo> answer) = 0;
  virtual kor::Result GetErrorRate(Answer<kor::wwan::NetworkManager::ErrorRate> answer) = 0;
  virtual kor::Result GetCellLocation(Answer<kor::wwan::NetworkManager::CellLocationInfo> answer) = 0;
  virtual kor::Result GetSystemInfo(Answer<kor::wwan::NetworkManager::SystemInfo> answer) = 0;

 protected:
  ~ModemPort() = default;
};

}  // namespace kor::modem
