// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "common/export.h"
#include "common/ip_family.h"
#include "common/result.h"
#include "wwan/network_manager.h"
#include "wwan/sms_manager.h"

namespace kor::modem {

// What the modem is served by.
enum class Technology { kNone, kGsm, kUmts, kLte, kLteNr5g, kNr5g };  // kLteNr5g: non-standalone.

// The simulated modem's control side: what a scenario, a test or a person at the bench sets. The library talks to the
// same modem through the vendor clients and never sees this. (The same as text, one line per operation: scenario.h.)
//
// Calls. Each policy has one call for IPv4 and one for IPv6, named by the policy's handle and the family. The policy
// that is there from the start has handle 100, the k-th one created after it 100 + k. Unless set otherwise a call comes
// up 50 ms after its request, its configuration is complete at once, and it goes down 20 ms after its request:
//   up    its configuration answers; then its interface appears; then kEvtWwanConnected
//   down  its configuration answers no more; then its interface goes; then kEvtWwanDisconnected
// A call taken down while it is coming up: kEvtWwanConnectFailed, then kEvtWwanDisconnected.
//
// Interfaces. Both calls of a handle share the interface rmnet_dataN with the lowest N that is free when the first of
// them comes up; it goes with the last. It is a veth pair whose far end, carrierN, plays the network: whoever sets up
// the bench puts servers there (and sets `lo` up in the far end's namespace). An interface has the addresses of the
// families that are up, and a default route through the far end with the metric 10000 + N. It takes a few milliseconds
// to make, CAP_NET_ADMIN and `ip`; nsenter and CAP_SYS_ADMIN too when the far end lives in a namespace of its own.
// Where it cannot be made one warning in the log says so, and calls have events only. Calls that are up when the
// process ends leave their interfaces behind; the next modem in the same network namespace replaces them, so let there
// be one at a time.
//   IPv4  10.64.N.2/30 (the network's end 10.64.N.1), DNS server 10.255.0.53
//   IPv6  fd64:N::2/64 (the network's end fd64:N::1), DNS server fd64:ffff::53
//
// Service. The modem is registered at home on LTE. Without service - no usable SIM, not registered, no technology -
// calls go down and new ones are refused, and no message arrives; it is there again as soon as its reason has gone.
//
// Profiles. 1 "internet", 2 "ims", 3 "private", which has IPv4 only. A call with another profile, or of a family that
// its profile does not have, is refused.
//
// SIM. There is one slot, number 1, and a card in it, ready, its locks off. PIN1 and PIN2 are 1234 with 3 tries, their
// PUKs 12345678 with 10. A card that is put in or gets power is ready 100 ms later, and a PIN whose lock is on is
// wanted again then: SetPinLock() with the right PIN gives it.
//
// AT commands. A terminal behaves as ITU-T V.250 and 3GPP TS 27.007 have it: lines "AT..." end with <CR>, several
// commands may stand in one, "A/" repeats the last. What sets a terminal comes first (E H L M Q V X Z &C &D &F S0 S3 S4
// S5 S7 +CMEE), then names that were registered through the AT client, which are forwarded, then what the modem itself
// knows (I +GMI +GMM +GMR +GSN +CGMI +CGMM +CGMR +CGSN +CPIN +CREG +COPS +CSQ); the rest is an ERROR. String parameters
// are handed over without their quotes. A line holds 2048 characters; a longer one is an ERROR. Each terminal has its
// own settings, which end with the program that made them. Texts shown while no program is there are lost; of
// unsolicited ones that cannot be shown at once the latest 100 are held, by a half-typed line for 3 s at most.
//
// Time. Events come from the modem's own thread, one at a time, in the order of their time, never from inside a
// request; with nothing to come the thread sleeps. It takes no signals.
//
// Thread safety: all operations may be called from any thread, from event callbacks too.
//
//   auto& modem = kor::modem::SimModem::Get();
//   modem.FailConnects(1);           // The next connect fails, ...
//   modem.SetNotReadyQueries(2);     // ... the one after it is slow to get its addresses, ...
//   modem.Drop(100, kor::util::IPFamily::kIpv4);  // ... and the network takes it down again.
class KOR_EXPORT SimModem {
 public:
  using Milliseconds = std::chrono::milliseconds;

  // The process's simulated modem, created by the first use. It lives until the process ends, also through exit().
  static SimModem& Get();

  SimModem(const SimModem&) = delete;
  SimModem& operator=(const SimModem&) = delete;

  // -- How calls behave ----------------------------------------------------------------------------------------------

  // From request to outcome, for requests from now on; a negative delay is none.
  void SetConnectDelay(Milliseconds delay);
  void SetDisconnectDelay(Milliseconds delay);

  // Each call that comes up from now on answers the first `count` queries of its configuration with kNotReady.
  void SetNotReadyQueries(int count);

  // DNS servers that the network assigns to calls that come up from now on, by family; an empty text is none. The texts
  // are given on as they are: what does not parse as an address of the family is a fault that the library's side must
  // bear.
  void SetDnsServers(kor::util::IPFamily family, const std::string& dns_1, const std::string& dns_2);
  // The same for the calls of one handle only.
  void SetDnsServers(int32_t handle, kor::util::IPFamily family, const std::string& dns_1, const std::string& dns_2);

  // Whether calls that come up from now on get interfaces; they do unless switched off.
  void SetLinks(bool enable);

  // The network namespace of the far ends of interfaces made from now on, as a path ("/run/netns/carrier"); empty: this
  // process's own. False, and nothing changes, when `path` is not an absolute path of printable characters without
  // blanks, quotes, '\' and '#'.
  bool SetCarrierNamespace(const std::string& path);

  // Whether the modem is registered in a visited network. Calls that are up stay up.
  void SetRoaming(bool roaming);

  // -- The SIM card --------------------------------------------------------------------------------------------------

  // Whether there is a card in the slot; always the same one.
  void SetSimPresent(bool present);

  // From its being put in or getting power to its being ready, from now on.
  void SetSimDelay(Milliseconds delay);

  // Someone types the PUK of PIN1 or PIN2. True when it is right: the PIN is `new_pin` and verified.
  bool EnterPuk(int pin_id, const std::string& puk, const std::string& new_pin);

  // -- The radio -----------------------------------------------------------------------------------------------------

  void SetTechnology(Technology technology);
  void SetRegistration(kor::wwan::NetworkManager::Registration registration);

  // How well the modem hears, from 0 (barely) to 100; 75 unless set. All figures follow from it. It moves evenly from
  // where it is to `percent` within `over`; then comes kEvtSignalChanged, unless it was sent elsewhere meanwhile.
  void MoveSignal(int percent, Milliseconds over);

  // From a query, or from a scan, to its answer; 20 ms and 200 ms unless set. An answer tells how things are when it
  // comes. More than the port's limits is a fault of this modem, which whoever waits has to bear.
  void SetAnswerDelay(Milliseconds delay);
  void SetScanDelay(Milliseconds delay);

  // -- Short messages ------------------------------------------------------------------------------------------------

  // A message arrives and goes the way of its class. False when there is no service or no such class (kCdma).
  bool ReceiveSms(kor::wwan::SmsManager::MessageClass message_class, const std::string& sender,
                  const std::string& text);

  // How many messages a storage takes, kSim (20 unless set) or kDevice (100).
  void SetSmsCapacity(kor::wwan::SmsManager::MessageStorage storage, uint32_t messages);

  // All stored messages are deleted.
  void ClearSms();

  // -- Faults: each setting replaces the one before, a count of 0 ends it --------------------------------------------

  // The next `count` operations of that name end with `result`, once `good` more have gone well: one call of many can
  // be chosen by its place in the record. The names are those of the modem port's operations ("StartCall",
  // "GetProfiles", "SetPinLock"); false, and nothing changes, when there is no such operation. "RegisterAtNames"
  // refuses the next requests for AT names, each as a whole (a count of a million is as good as for ever);
  // "AnswerAtCommand" loses answers, so that terminals wait for them.
  bool FailNext(const std::string& operation, int count, kor::Result result = kor::Result::kFailure, int good = 0);

  // What a round trip to the modem takes; nothing unless set. One that takes longer than 10 seconds ends with kTimeout
  // by then. The second: of that operation only, whatever the first says.
  void SetRoundTrip(Milliseconds time);
  bool SetRoundTrip(const std::string& operation, Milliseconds time);

  // The next `count` connects (disconnects) are accepted and end with kEvtWwanConnectFailed (kEvtWwanDisconnectFailed;
  // the call stays as it was).
  void FailConnects(int count);
  void FailDisconnects(int count);

  // The next `count` connects or disconnects are accepted and never answered: the call stays connecting (disconnecting)
  // until a later disconnect ends it, or the network does. A later connect brings a connecting call up.
  void IgnoreRequests(int count);

  // The next `count` reports are lost on their way: the call and its interface change, no event comes, and the vendor
  // client's state of the call stays what it was.
  void LoseReports(int count);

  // The next `count` radio queries and scans are taken and answered with kFailure.
  void FailAnswers(int count);

  // -- The modem itself ----------------------------------------------------------------------------------------------

  // The modem is gone, as when it is unplugged: its calls end at once, and so does whatever waits for it; every request
  // ends with kNotReady. It has forgotten the AT names and that the software is ready, and its card starts anew. False
  // when it was not there.
  bool Leave();

  // It is back, and ready after `delay`. (KWWAN_MODEM=simulated:absent begins without one.)
  void Return(Milliseconds delay);

  // The modem has a call that nobody asked for, as one that an earlier host left behind: no event comes. False when
  // that call is there already.
  bool AddRunningCall(int32_t handle, kor::util::IPFamily family, int profile);

  // -- What the network does -----------------------------------------------------------------------------------------

  // Takes an up call down, as soon as the modem's thread is free. False when it is not up.
  bool Drop(int32_t handle, kor::util::IPFamily family);

  // -- AT commands ---------------------------------------------------------------------------------------------------

  // A new terminal of the modem: the path of a pty that any terminal program may open ("/dev/pts/3"). Empty when there
  // can be none (the log says why) or there are 16.
  std::string OpenTerminal();

  // Types one line ("AT+CSQ") at a terminal of its own, with fresh settings and no echo, and waits for its result. What
  // the terminal shows: lines separated by '\n', the final result last.
  // Requires: not called in an event callback, which would wait for itself.
  std::string Type(const std::string& line);

  // A forwarded command that is not answered within `limit` ends with ERROR; 60 seconds unless set. For commands
  // forwarded from now on. An answer that comes later is dropped.
  void SetAnswerLimit(Milliseconds limit);

  // Whether the application side has said that it is ready.
  bool IsSoftwareReady();

  // -- What was seen -------------------------------------------------------------------------------------------------

  // Whether the operations asked of the modem are written down; they are not unless it is switched on.
  void SetRecording(bool on);

  // Those since the last call, oldest first, the latest 1000: the name, then the arguments without secrets; a family is
  // 4 or 6, a switch 0 or 1 ("StartCall 100 4 1": handle, family, profile), a text is cut and control characters in it
  // are dots.
  std::vector<std::string> TakeRecord();

  // Waits until no event is due or running; an ignored request does not count. False when that takes longer than
  // `limit`, and at once in an event callback, which is an event itself.
  bool WaitIdle(Milliseconds limit);

 private:
  SimModem() = default;
};

}  // namespace kor::modem
