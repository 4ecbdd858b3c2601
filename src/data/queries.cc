// SPDX-License-Identifier: Apache-2.0
// Which state, address and interface belong to a profile; the interface rmnet_data0; the switches of the families;
// requests to make or change a profile.
#include <utility>

#include "common/addresses.h"
#include "common/log.h"
#include "common/util/network_manager.h"
#include "common/vendor/qcmap_wrapper.h"
#include "wwan/data_manager.h"

namespace kor::wwan {

using kor::util::IPFamily;
using Interfaces = kor::util::NetworkManager;

namespace {

constexpr char kDataInterfaces[] = "rmnet_data";   // Part of the name of every interface that carries calls.
constexpr char kFirstInterface[] = "rmnet_data0";  // The one whose address and netmask can be asked for and set.
constexpr char kGetIfaceNameWithCid[] = "bool kor::wwan::DataManager::GetIfaceNameWithCid(int, std::string&)";

// Whether interface `name` has the call's IPv4 address or, when the call has none, its IPv6 address.
bool Carries(const std::string& name, const std::string& ipv4, const std::string& ipv6) {
  return kor::util::InterfaceHas(name, ipv4.empty() ? ipv6 : ipv4, ipv4.empty());
}

}  // namespace

bool DataManager::GetWwanStatusWithCid(int cid, ConnectStatus& ipv4, ConnectStatus& ipv6) {
  std::vector<WwanStatus> statuses;
  if (!GetWwanStatuses(statuses)) return false;
  ipv4 = ConnectStatus::kDisconnected;
  ipv6 = ConnectStatus::kDisconnected;
  // Several policies may carry the profile: one that is connected wins, else the last one's state is told.
  for (const WwanStatus& status : statuses) {
    if (ipv4 != ConnectStatus::kConnected && status.policy.profile_1 == cid) ipv4 = status.ipv4_status;
    if (ipv6 != ConnectStatus::kConnected && status.policy.profile_2 == cid) ipv6 = status.ipv6_status;
    if (ipv4 == ConnectStatus::kConnected && ipv6 == ConnectStatus::kConnected) break;
  }
  return true;
}

kor::Result DataManager::GetNetworkConfigWithCid(int cid, IPFamily ip_family, NetworkConfig& config) {
  std::vector<WwanPolicy> policies;
  if (!GetWwanPolicies(policies)) return kor::Result::kFailure;
  if (ip_family != IPFamily::kIpv4 && ip_family != IPFamily::kIpv6) return kor::Result::kFailure;
  for (uint32_t i = 0; i < policies.size(); ++i) {
    const WwanPolicy& policy = policies[i];
    // For IPv4 the second profile counts as well: a profile of both families may stand in either place.
    const bool matches = (ip_family == IPFamily::kIpv4 && policy.profile_1 == cid) || policy.profile_2 == cid;
    if (!matches || GetNetworkConfig(i, ip_family, config) != kor::Result::kSuccess) continue;
    if (!config.address.empty()) return kor::Result::kSuccess;
  }
  return kor::Result::kFailure;
}

bool DataManager::GetIfaceNameWithCid(int cid, std::string& name) {
  KOR_LOG_AS(kGetIfaceNameWithCid, LOG_DEBUG, "cid %d\n", cid);
  NetworkConfig config4;
  NetworkConfig config6;
  (void)GetNetworkConfigWithCid(cid, IPFamily::kIpv4, config4);  // Only the address counts; it may be there on failure.
  if (config4.address.empty()) {
    (void)GetNetworkConfigWithCid(cid, IPFamily::kIpv6, config6);
    if (config6.address.empty()) {
      KOR_LOG_AS(kGetIfaceNameWithCid, LOG_ERR, "Cannot find ip address for cid %d\n", cid);
      return false;
    }
  }
  KOR_LOG_AS(kGetIfaceNameWithCid, LOG_DEBUG, "cid [%d] v4 [%s] v6 [%s]\n", cid, config4.address.c_str(),
             config6.address.c_str());
  for (const std::string& candidate : Interfaces::GetIfNames()) {
    // Anywhere in the name: an interface stacked on a data interface may hold the address.
    if (candidate.find(kDataInterfaces) == std::string::npos) continue;
    if (!Carries(candidate, config4.address, config6.address)) continue;
    name = candidate;
    return true;
  }
  return false;
}

bool DataManager::GetIpAddress(std::string& address) {
  return Interfaces::IsUpState(kFirstInterface) && Interfaces::GetIpAddress(kFirstInterface, address, false);
}

bool DataManager::SetIpAddress(std::string address) {
  return Interfaces::IsUpState(kFirstInterface) && Interfaces::SetIpAddress(kFirstInterface, std::move(address));
}

bool DataManager::GetSubnetMask(std::string& mask) { return Interfaces::GetSubnetMask(kFirstInterface, mask); }

bool DataManager::SetSubnetMask(std::string mask) {
  return Interfaces::IsUpState(kFirstInterface) && Interfaces::SetSubnetMask(kFirstInterface, std::move(mask));
}

bool DataManager::GetIpvEnabled(uint32_t index, bool& ipv4, bool& ipv6) {
  const bool ipv4_known = qcmap_->GetIpv4State(index, ipv4);
  const bool ipv6_known = qcmap_->GetIpv6State(index, ipv6);
  return ipv4_known && ipv6_known;
}

bool DataManager::SetIpv4Enabled(uint32_t index, bool enable, IPFamily ip_family) {
  const bool ipv4 = ip_family == IPFamily::kIpv4 || ip_family == IPFamily::kBoth;
  const bool ipv6 = ip_family == IPFamily::kIpv6 || ip_family == IPFamily::kBoth;
  bool done = ipv4 || ipv6;
  if (ipv4) done &= enable ? qcmap_->EnableIpv4(index) : qcmap_->DisableIpv4(index);
  if (ipv6) done &= enable ? qcmap_->EnableIpv6(index) : qcmap_->DisableIpv6(index);
  return done;
}

// -- Making and changing a profile: examined, and answered without changing any ---------------------------------------

kor::Result DataManager::CreateProfile(ProfileType type, int index) {
  ProfileSetting scratch;
  if (GetProfileSetting(type, index, scratch) != kor::Result::kSuccess) return kor::Result::kNotSupported;
  KOR_LOG_AS("kor::Result kor::wwan::DataManager::CreateProfile(kor::wwan::DataManager::ProfileType, int)", LOG_ERR,
             "profile index %d already exits\n", index);
  return kor::Result::kPreconditionFailed;
}

kor::Result DataManager::ModifyProfileSetting(ProfileSetting& setting) {
  ProfileSetting scratch;
  if (GetProfileSetting(setting.type, setting.index, scratch) == kor::Result::kSuccess) {
    return kor::Result::kNotSupported;
  }
  KOR_LOG_AS("kor::Result kor::wwan::DataManager::ModifyProfileSetting(kor::wwan::DataManager::ProfileSetting&)",
             LOG_ERR, "Can't get profile setting before modifying\n");
  return kor::Result::kPreconditionFailed;
}

}  // namespace kor::wwan
