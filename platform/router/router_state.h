// SPDX-License-Identifier: Apache-2.0
// What the router keeps over a restart, and its text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "wwan/data_manager.h"
#include "wwan/mobileap_manager.h"

namespace kor::vendor::qcom::qcmap {

constexpr int32_t kFirstHandle = 100;
constexpr int32_t kLastHandle = 1'000'000'000;  // Each new policy takes the next: there is no policy after that.
constexpr size_t kMaxPolicies = 256;            // As many as DeleteWwanPolicy can name.

// A policy and what the host wants of it.
struct PolicyState {
  kor::wwan::DataManager::WwanPolicy policy{1, 1, kor::wwan::Tech::kAny, kor::util::IPFamily::kBoth, kFirstHandle};
  bool auto_connect = false;
  bool roaming = true;
  bool ipv4 = true;  // The switches of its families.
  bool ipv6 = true;
};

struct LanState {
  using Manager = kor::wwan::MobileapManager;

  Manager::LanConfig recorded{true, "192.168.225.1", "255.255.255.0", true, "192.168.225.20", "192.168.225.60", 43200};
  Manager::LanConfig in_force;                   // Not valid before the first activation.
  std::map<int32_t, Manager::VlanConfig> vlans;  // By number; their `pdn` is -1.
  // VLAN to the handle of its PDN, whose index changes when another one is deleted; both are there.
  std::map<int32_t, int32_t> mappings;
  bool passes_through = false;
  Manager::IpPassthroughConfig passthrough;
};

// From the start: one policy, profile 1 for both families; a plain router of 192.168.225.1/24, a pool of .20 to .60,
// leases of 12 hours.
struct RouterState {
  std::vector<PolicyState> policies{1};
  int32_t next_handle = kFirstHandle + 1;
  LanState lan;
};

// JSON, for people and for ReadState().
std::string StateText(const RouterState& state);

// Reads it back. Throws std::exception with what is wrong: another version's text, or a value that no setter would have
// taken.
RouterState ReadState(const std::string& text);

}  // namespace kor::vendor::qcom::qcmap
