// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "common/event_dic.h"
#include "common/mutex.h"
#include "wwan/data_manager.h"
#include "wwan/mobileap_manager.h"

namespace kor::test {

using kor::util::IPFamily;
using kor::wwan::DataManager;
using kor::wwan::MobileapManager;
using Calls = std::vector<std::string>;

// Other definitions of the vendor clients, linked in their place: they answer what a test has scripted, on the calling
// thread, and record what was asked.
struct Answers {
  std::vector<DataManager::WwanPolicy> policies;
  std::map<uint32_t, std::pair<DataManager::ConnectStatus, DataManager::ConnectStatus>> states;  // Default: down.
  std::map<std::pair<uint32_t, IPFamily>, DataManager::NetworkConfig> configs;
  int not_ready = 0;                            // So many configuration queries answer kNotReady first.
  bool ok = true;                               // Result of the operations that return bool.
  std::set<std::string> refused;                // These of them ("Operation", or one call) return false all the same.
  bool auto_connects = true;                    // What GetAutoConnect tells.
  bool lists_ok = true;                         // Result of GetWwanPolicies alone.
  bool reachable = true;                        // False: GetInstance throws.
  kor::Result request = kor::Result::kSuccess;  // Result of the others. ConnectBackhaul and DisconnectBackhaul
  std::function<void()> on_request;             // run this first, without a lock.

  MobileapManager::LanConfig lan;
  std::vector<MobileapManager::VlanConfig> vlans;
  std::vector<MobileapManager::VlanMapping> mappings;
  std::optional<int32_t> vlan_pdn;  // What SetVlanConfig leaves in its record.
};

class Vendor {
 public:
  // Forgets what was scripted and asked.
  static void Reset();

  // Changes the answers; safe while other threads ask.
  static void Set(const std::function<void(Answers&)>& change);

  // What was asked since the last call, as "Operation arg arg".
  static Calls Take();

  // Publishes a data event on this thread, as the modem's thread does.
  static void Publish(uint32_t event, const std::string& handle, const std::string& family);
};

// A policy whose call has `handle`.
DataManager::WwanPolicy Policy(int profile_1, int profile_2, int32_t handle);

}  // namespace kor::test
