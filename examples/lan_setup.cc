// SPDX-License-Identifier: Apache-2.0
// Sets the LAN up: the router's address, a pool for its clients, and a VLAN for guests on a PDN of its own.
#include <cstdio>
#include <vector>

#include "wwan/data_manager.h"
#include "wwan/mobileap_manager.h"

using kor::util::IPFamily;
using kor::wwan::DataManager;
using kor::wwan::MobileapManager;

namespace {

// All values at once, and in force at the end: no client ever sees a pool outside of the subnet.
bool SetUpLan(MobileapManager& lan) {
  return lan.SetLanConfig("192.168.2.1", "255.255.255.0", true, "192.168.2.100", "192.168.2.199", 3600, true);
}

// A PDN gets the next policy; its index is what a VLAN is mapped to.
bool SetUpGuests(DataManager& data, MobileapManager& lan) {
  if (!data.CreatePdn(kor::wwan::Tech::kAny, IPFamily::kBoth, 2, 2)) return false;
  MobileapManager::VlanConfig guests{MobileapManager::LanInterface::kEthernet, 20, 1};
  return lan.SetVlanConfig(true, guests);
}

}  // namespace

int main() {
  DataManager data;
  MobileapManager lan;
  if (!SetUpLan(lan) || !SetUpGuests(data, lan)) {
    puts("The LAN is not set up; the system log says why.");
    return 1;
  }

  const MobileapManager::LanConfig set = lan.GetLanConfig();
  if (!set.valid) return 1;
  printf("The router is %s/%s, its clients %s to %s for %d s.\n", set.gw.c_str(), set.nm.c_str(),
         set.dhcp_start_ip.c_str(), set.dhcp_end_ip.c_str(), set.dhcp_lease_time);
  std::vector<MobileapManager::VlanConfig> vlans;
  if (!lan.GetVlanConfigs(vlans)) return 1;
  for (const auto& vlan : vlans) printf("VLAN %d is on PDN %d.\n", vlan.vlan_id, vlan.pdn);
  return 0;
}
