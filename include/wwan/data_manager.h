// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <vector>

#include "common/condition.h"
#include "common/event_dic.h"
#include "common/export.h"
#include "common/ip_family.h"
#include "common/mutex.h"
#include "common/result.h"

namespace kor::vendor::qcom::qcmap {
class QcmapWrapper;
}
namespace kor::vendor::qcom::qmi {
class WdsQmiClient;
}

namespace kor::wwan {

// Radio technologies a policy may use, one bit each. The library itself only passes kAny; other values reach the modem
// unchanged.
enum class Tech : uint32_t {
  kUmts = 1,
  kLte = 2,
  kNr5g = 4,
  kAny = 7,
};

// The cellular data side: policies, PDNs and the data calls that run on them.
//
// A policy is a numbered slot that binds a PDN to data profiles of the modem; its index is its position in the list of
// GetWwanPolicies(). Each policy has one call for IPv4 and one for IPv6. All state lives in the modem, so any number of
// objects, in one process, see the same policies.
//
// Thread safety: the queries and setters may be called from any thread. One Connect, Disconnect or ConnectWithCid at a
// time per object; several objects may wait at once. Objects may be created and destroyed on several threads.
//
// Ownership: an object owns its subscriptions and nothing else; what it talks to lives as long as the process.
//
// Callbacks run on the modem's event threads with the publisher's table locked. A callback must not call SetEventCb,
// UnsetEventCb, Connect, Disconnect or ConnectWithCid on any object, nor destroy one, nor use a DnsCtrlManager (a
// refresh takes this table's lock); it may take its owner's lock, briefly, and hand work to another thread. While it
// runs, every waiting Connect is held up; what it throws is logged and goes no further.
//
// A waiting Connect counts as done when the modem has confirmed the call and the DNS forwarder's list has been written
// since the request (for this call, or for another that came up meanwhile: its own servers then follow at once), so the
// host keeps a DnsCtrlManager (dns_ctrl_manager.h) with its service started while it connects:
//
//   kor::wwan::DnsCtrlManager dns;
//   dns.StartService();
//   kor::wwan::DataManager data;
//   if (data.Connect(0, kor::util::IPFamily::kIpv4, true) == kor::Result::kSuccess) { ... }
class KOR_EXPORT DataManager {
 public:
  struct WwanPolicy {
    int profile_1 = 0;  // Profile number (cid) of the IPv4 call.
    int profile_2 = 0;  // Profile number (cid) of the IPv6 call.
    Tech tech = Tech::kAny;
    kor::util::IPFamily ip_family = kor::util::IPFamily::kBoth;
    int32_t handle = 0;  // The call's name in events: EventDic::kParamHandle.
  };

  enum class ConnectStatus : uint32_t {
    kNone = 0,  // Not known: what GetConnectStatus writes before it asks. Or down, to be connected again by itself.
    kConnecting = 1,
    kConnected = 2,
    kDisconnecting = 3,
    kDisconnected = 4,
  };

  struct WwanStatus {
    ConnectStatus ipv4_status = ConnectStatus::kNone;
    ConnectStatus ipv6_status = ConnectStatus::kNone;
    WwanPolicy policy;
  };

  // What the network assigned to a call. Addresses are text: dotted IPv4, or textual IPv6.
  struct NetworkConfig {
    kor::util::IPFamily ip_family = kor::util::IPFamily::kIpv4;  // The family of this configuration.
    std::string address;                                         // The call's interface address.
    std::string dns_1;                                           // DNS servers; empty or "0.0.0.0" when absent.
    std::string dns_2;
  };

  // Kind of a data profile, as QMI WDS numbers them.
  enum class ProfileType : uint32_t {
    k3gpp = 0,
    k3gpp2 = 1,
    kEpc = 2,
  };

  // PDP type of a profile (3GPP TS 27.007 +CGDCONT, numbered as in QMI WDS).
  enum class PdpType : uint32_t {
    kIpv4 = 0,
    kPpp = 1,
    kIpv6 = 2,
    kIpv4v6 = 3,
  };

  // Authentication of a profile, one bit each (QMI WDS).
  enum class Authentication : uint32_t {
    kNone = 0,
    kPap = 1,
    kChap = 2,
    kPapOrChap = 3,
  };

  // One data profile of the modem.
  struct ProfileSetting {
    ProfileType type = ProfileType::k3gpp;
    int index = 0;     // Profile number (cid), 1 to 24.
    std::string name;  // For people; the modem gives it no meaning.
    std::string apn;   // Access point name (3GPP TS 23.003).
    std::string user_name;
    std::string password;
    PdpType pdp_type = PdpType::kIpv4v6;
    Authentication authentication = Authentication::kNone;
  };

  // One entry of the profile list.
  struct ProfileInfo {
    ProfileType type = ProfileType::k3gpp;
    int index = 0;
    std::string name;
  };

  // Throws what the vendor's side throws when the modem cannot be reached.
  DataManager();
  ~DataManager();
  DataManager(const DataManager&) = delete;
  DataManager& operator=(const DataManager&) = delete;

  // -- Events --------------------------------------------------------------------------------------------------------

  // From now on calls `cb` with every event of the data side (kEvtWwan* of every policy, and the data service's own). A
  // second call replaces the callback.
  void SetEventCb(std::function<void(kor::util::EventDic&)> cb);

  // Ends that; the destructor does it too. Once it has returned, the callback is not running and never runs again.
  void UnsetEventCb();

  // -- Calls: these block. Not from a callback. ----------------------------------------------------------------------
  // A debug build of the library ends the process, with a sentence that says so, when a callback waits for one.

  // Brings the call of policy `index` up for one family (kIpv4 or kIpv6; kBoth is refused).
  // `wait`: return when the call is confirmed and the DNS forwarder's list written, or after 10 seconds.
  //   kSuccess   up (with `wait`), requested (without), or up already: nothing was sent.
  //   kFailure   `index` has no policy, the call is connecting or disconnecting, the modem does not answer, the call
  //              failed, or no confirmation came in time (the call may still come up).
  //   any other  the modem's own code for a refused request.
  [[nodiscard]] kor::Result Connect(uint32_t index, kor::util::IPFamily ip_family, bool wait);

  // Takes it down. A call that is still connecting is taken down too. `wait`: return when that is confirmed, or after
  // 10 seconds. Results as above; kSuccess at once when the call is down already.
  [[nodiscard]] kor::Result Disconnect(uint32_t index, kor::util::IPFamily ip_family, bool wait);

  // Connects a policy for profile number `cid`: the first one, by index, that carries it in the place of `ip_family` or
  // is idle (both calls down). One that carries it is connected as it is; an idle one is given the profile, even though
  // a later one carries it. Without either a PDN is created, which takes the smallest profile number from 1 to 24 that
  // no policy carries until it is given `cid`. Results as Connect's; kFailure too when no policy can be had.
  [[nodiscard]] kor::Result ConnectWithCid(int cid, kor::util::IPFamily ip_family, bool wait);

  // The wait inside the two: takes queued events until the outcome for policy `index` is known or 10 seconds have
  // passed. `for_connect` tells which outcome. It sees only events queued by EventCb().
  [[nodiscard]] kor::Result WaitEvent(uint32_t index, kor::util::IPFamily ip_family, bool for_connect);

  // The callback of the wait's own subscriptions: queues a copy of `ev`. Any thread.
  void EventCb(kor::util::EventDic& ev);

  // -- Policies and calls: one request to the modem each, or as many as said -----------------------------------------
  // False when it does not answer or `index` has no policy.

  // Every policy, in index order.
  bool GetWwanPolicies(std::vector<WwanPolicy>& policies);

  // Gives a policy its technology, families and profiles. `profile_2` -1: `profile_1` serves those families and no
  // other.
  bool SetPolicy(uint32_t index, Tech tech, kor::util::IPFamily ip_family, int profile_1, int profile_2);

  // The states of a policy's two calls; both are kNone when this returns false.
  bool GetConnectStatus(uint32_t index, ConnectStatus& ipv4, ConnectStatus& ipv6);

  // A policy and, by a second request, the states of its calls; these are untouched when there is no such policy.
  bool GetWwanStatus(uint32_t index, WwanStatus& status);

  // The same for all policies, in index order: a request for the list and one for each policy. True with an empty list
  // when there are none; on false the list holds what had been read.
  bool GetWwanStatuses(std::vector<WwanStatus>& statuses);

  // Whether the host wants the calls kept up. One that is down is then connected by itself, again and again, until
  // Disconnect(); Connect() or switching it on resumes that.
  bool SetAutoConnect(uint32_t index, bool enable);
  bool GetAutoConnect(uint32_t index, bool& enabled);

  // Whether the call may be made in a visited network.
  bool SetRoaming(uint32_t index, bool enable);
  bool GetRoaming(uint32_t index, bool& enabled);

  // Adds a policy as the last index; removes one.
  bool CreatePdn(Tech tech, kor::util::IPFamily ip_family, uint8_t profile_1, uint8_t profile_2);
  bool DeletePdn(uint8_t index);

  // What the network assigned to one call. kNotReady: the call is up and its configuration is still incomplete.
  [[nodiscard]] kor::Result GetNetworkConfig(uint32_t index, kor::util::IPFamily ip_family, NetworkConfig& config);

  // The switches of a policy's families, by two requests; true when both could be read.
  bool GetIpvEnabled(uint32_t index, bool& ipv4, bool& ipv6);

  // Switches `ip_family` on or off for a policy. kBoth: both are asked for whatever the first answers, and true means
  // both. False, with nothing asked, for any other value.
  bool SetIpv4Enabled(uint32_t index, bool enable, kor::util::IPFamily ip_family);

  // -- By profile number (cid): a walk over the policies, with one request to the modem or two for each --------------

  // For each family the state of the call that carries the profile: connected when any policy's is, else that of the
  // last policy that carries it, else kDisconnected. On false the two are untouched.
  bool GetWwanStatusWithCid(int cid, ConnectStatus& ipv4, ConnectStatus& ipv6);

  // The first configuration with an address among the policies that carry the profile: for kIpv4 in either place, for
  // kIpv6 as `profile_2`. kFailure when there is none, and for kBoth; `config` then holds what the modem left in it.
  [[nodiscard]] kor::Result GetNetworkConfigWithCid(int cid, kor::util::IPFamily ip_family, NetworkConfig& config);

  // The rmnet_data interface that carries the profile's call: the one with its IPv4 address or, when the call has none,
  // with its IPv6 address. False, with `name` untouched, when no interface has it, and with an error in the log when
  // the call has no address.
  bool GetIfaceNameWithCid(int cid, std::string& name);

  // -- The interface rmnet_data0: asked of the kernel, without the modem; they do not wait ---------------------------

  // Its IPv4 address, dotted; false when it is down, is not there or has none.
  bool GetIpAddress(std::string& address);

  // Gives it this address in place of what it had, with the same netmask (255.255.255.255 when it had none), the same
  // far end and label. Its routes stay, but for those to the old address's subnet. False, with nothing changed, when it
  // is down or `address` is not an address that a host can have; false when the kernel refuses, as it does without
  // CAP_NET_ADMIN. SetSubnetMask likewise.
  bool SetIpAddress(std::string address);

  // The netmask of its IPv4 address, dotted; false when it has none. It may be down.
  bool GetSubnetMask(std::string& mask);

  // False, with nothing changed, when it is down, has no address, or `mask` is not a netmask.
  bool SetSubnetMask(std::string mask);

  // -- Profiles: one request each ------------------------------------------------------------------------------------

  // kSuccess when the profile exists and `setting` is filled.
  [[nodiscard]] kor::Result GetProfileSetting(ProfileType type, int index, ProfileSetting& setting);
  [[nodiscard]] kor::Result GetProfileList(std::list<ProfileInfo>& profiles);

  // Profiles are made and changed on the modem's side, not through this library: these look whether it could be done,
  // and change nothing. kPreconditionFailed when the profile exists already (cannot be read), with an error in the log;
  // else kNotSupported.
  [[nodiscard]] kor::Result CreateProfile(ProfileType type, int index);
  [[nodiscard]] kor::Result ModifyProfileSetting(ProfileSetting& setting);

  // Number of live objects. For diagnostics; written by constructors and destructors only.
  static std::atomic<uint32_t> s_ins_cnt_;

 private:
  friend struct DataManagerPeer;  // Tests shorten the wait through it.
  static constexpr int64_t kWaitTimeoutUs = 10'000'000;

  enum class Popped { kEvent, kNothing, kTimeout };

  // Moves the oldest event into `popped`; waits for one for at most `remaining_us` when there is none.
  KOR_HIDDEN Popped PopEvent(int64_t remaining_us, std::list<kor::util::EventDic>& popped) KOR_EXCLUDES(mutex_);
  KOR_HIDDEN void DiscardEvents() KOR_EXCLUDES(mutex_);

  // Constant after construction.
  uint32_t ins_no_ = 0;  // Value of s_ins_cnt_ at construction; wished key of the wait's subscription.
  kor::vendor::qcom::qcmap::QcmapWrapper* qcmap_ = nullptr;
  kor::vendor::qcom::qmi::WdsQmiClient* wds_ = nullptr;
  kor::vendor::qcom::qmi::WdsQmiClient* aux_client_1_ = nullptr;  // Further publishers; this library has none.
  kor::vendor::qcom::qmi::WdsQmiClient* aux_client_2_ = nullptr;

  // Events of a running wait, oldest first; filled by publishers' threads.
  std::list<kor::util::EventDic> events_ KOR_GUARDED_BY(mutex_);
  kor::util::Mutex mutex_;
  kor::util::Condition cond_;  // Signalled on the empty -> one edge; enough because there is one consumer.
  int64_t wait_budget_us_ = kWaitTimeoutUs;
};

}  // namespace kor::wwan
