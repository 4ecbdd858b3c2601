// SPDX-License-Identifier: Apache-2.0
// Connect, disconnect, and the choice of a policy for a profile number.
#include <sys/time.h>

#include <optional>
#include <set>
#include <utility>

#include "common/log.h"
#include "common/vendor/qcmap_wrapper.h"
#include "data/wait_key.h"
#include "wwan/data_manager.h"
#include "wwan/dns_ctrl_manager.h"

namespace kor::wwan {

namespace {

using kor::util::IPFamily;
using ConnectStatus = DataManager::ConnectStatus;

// Profile numbers that a new PDN may be given.
constexpr int kFirstProfileCandidate = 1;
constexpr int kLastProfileCandidate = 24;

[[maybe_unused]] constexpr char kWaitInCallback[] =
    "a callback waits for a call, on the thread that the call's events come from: connect without waiting, or on "
    "another thread";

std::set<int> ProfileCandidates() {
  std::set<int> candidates;
  for (int p = kFirstProfileCandidate; p <= kLastProfileCandidate; ++p) candidates.insert(p);
  return candidates;
}

// The state that counts for one family; kNone for what is no family.
ConnectStatus StatusOf(IPFamily ip_family, ConnectStatus ipv4, ConnectStatus ipv6) {
  if (ip_family == IPFamily::kIpv4) return ipv4;
  if (ip_family == IPFamily::kIpv6) return ipv6;
  return ConnectStatus::kNone;
}

bool CarriesProfile(const DataManager::WwanPolicy& policy, IPFamily ip_family, int cid) {
  return (ip_family == IPFamily::kIpv4 && policy.profile_1 == cid) ||
         (ip_family == IPFamily::kIpv6 && policy.profile_2 == cid);
}

bool IsIdle(const DataManager::WwanStatus& status) {
  return status.ipv4_status == ConnectStatus::kDisconnected && status.ipv6_status == ConnectStatus::kDisconnected;
}

// The index of a new policy, with the smallest profile number that is free.
std::optional<uint32_t> CreatePdnWith(DataManager& data, const std::set<int>& candidates) {
  if (candidates.empty()) return std::nullopt;
  const auto profile = static_cast<uint8_t>(*candidates.begin());
  if (!data.CreatePdn(Tech::kAny, IPFamily::kBoth, profile, profile)) return std::nullopt;
  std::vector<DataManager::WwanPolicy> policies;
  if (!data.GetWwanPolicies(policies) || policies.empty()) return std::nullopt;
  return static_cast<uint32_t>(policies.size() - 1);
}

double WallClockSeconds() {
  timeval now{};
  gettimeofday(&now, nullptr);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) / 1e6;
}

// The entry of one wait in the wrapper's table, from construction to destruction.
class WaitSubscription {
 public:
  WaitSubscription(kor::util::EventCbMap& table, uint32_t wished_key, kor::util::EventCbMap::Callback cb)
      : table_(table), key_(wished_key) {
    table_.Add(key_.get(), std::move(cb));
  }
  ~WaitSubscription() { table_.Remove(key_.get()); }
  WaitSubscription(const WaitSubscription&) = delete;
  WaitSubscription& operator=(const WaitSubscription&) = delete;

 private:
  kor::util::EventCbMap& table_;
  const WaitKey key_;
};

}  // namespace

kor::Result DataManager::Connect(uint32_t index, kor::util::IPFamily ip_family, bool wait) {
  if (wait) kor::util::lock_order::RefuseInCallback(kWaitInCallback);
  if (ip_family == IPFamily::kBoth) return kor::Result::kFailure;
  ConnectStatus ipv4{};
  ConnectStatus ipv6{};
  if (!GetConnectStatus(index, ipv4, ipv6)) return kor::Result::kFailure;
  const ConnectStatus status = StatusOf(ip_family, ipv4, ipv6);
  if (status == ConnectStatus::kConnected) return kor::Result::kSuccess;
  if (status == ConnectStatus::kConnecting || status == ConnectStatus::kDisconnecting) return kor::Result::kFailure;

  DnsCtrlManager dns_ctrl_manager;  // Keeps the DNS service alive for the length of the call.
  if (!wait) return qcmap_->ConnectBackhaul(index, ip_family);

  DiscardEvents();
  const auto queue_event = [this](kor::util::EventDic& ev) { EventCb(ev); };
  const WaitSubscription subscription(qcmap_->event_cbs, ins_no_, queue_event);
  dns_ctrl_manager.SetEventCb(queue_event);
  kor::Result result = qcmap_->ConnectBackhaul(index, ip_family);
  KOR_LOG(LOG_DEBUG, "Before wait event\n");
  const double start = WallClockSeconds();
  if (result == kor::Result::kSuccess) result = WaitEvent(index, ip_family, true);
  KOR_LOG(LOG_DEBUG, "After wait event [%f]\n", WallClockSeconds() - start);
  return result;
}

kor::Result DataManager::Disconnect(uint32_t index, kor::util::IPFamily ip_family, bool wait) {
  if (wait) kor::util::lock_order::RefuseInCallback(kWaitInCallback);
  if (ip_family == IPFamily::kBoth) return kor::Result::kFailure;
  ConnectStatus ipv4{};
  ConnectStatus ipv6{};
  if (!GetConnectStatus(index, ipv4, ipv6)) return kor::Result::kFailure;
  if (StatusOf(ip_family, ipv4, ipv6) == ConnectStatus::kDisconnected) return kor::Result::kSuccess;
  std::vector<WwanStatus> statuses;
  if (!GetWwanStatuses(statuses)) {
    KOR_LOG(LOG_ERR, "Cannot get wwan statuses");
    return kor::Result::kFailure;
  }
  if (!wait) return qcmap_->DisconnectBackhaul(index, ip_family);

  DiscardEvents();
  const WaitSubscription subscription(qcmap_->event_cbs, ins_no_, [this](kor::util::EventDic& ev) { EventCb(ev); });
  const kor::Result result = qcmap_->DisconnectBackhaul(index, ip_family);
  if (result != kor::Result::kSuccess) return result;
  return WaitEvent(index, ip_family, false);
}

kor::Result DataManager::ConnectWithCid(int cid, kor::util::IPFamily ip_family, bool wait) {
  std::set<int> candidates = ProfileCandidates();
  std::vector<WwanStatus> statuses;
  if (!GetWwanStatuses(statuses)) return kor::Result::kFailure;

  // The first policy that carries the profile, or could, decides.
  std::optional<uint32_t> index;
  bool set_policy = false;
  for (uint32_t i = 0; i < statuses.size() && !index; ++i) {
    const WwanStatus& status = statuses[i];
    candidates.erase(status.policy.profile_1);
    candidates.erase(status.policy.profile_2);
    if (CarriesProfile(status.policy, ip_family, cid)) {
      if (StatusOf(ip_family, status.ipv4_status, status.ipv6_status) == ConnectStatus::kConnected) {
        return kor::Result::kSuccess;
      }
      index = i;
    } else if (IsIdle(status)) {
      index = i;
      set_policy = true;
    }
  }
  if (!index) {
    index = CreatePdnWith(*this, candidates);
    if (!index) return kor::Result::kFailure;
    set_policy = true;
  }

  KOR_LOG(LOG_DEBUG, "before call SetPolicy ip_family %d cid %d set_policy %d\n", static_cast<int>(ip_family), cid,
          set_policy ? 1 : 0);
  if (set_policy && !SetPolicy(*index, Tech::kAny, ip_family, cid, -1)) return kor::Result::kFailure;
  return Connect(*index, ip_family, wait);
}

}  // namespace kor::wwan
